#include "analysis/priceformat.h"
#include "panel/alertrow.h"
#include "panel/blingbutton.h"
#include "panel/chip.h"
#include "panel/focusring.h"
#include "panel/helpsheet.h"
#include "panel/helpview.h"
#include "panel/iconbutton.h"
#include "panel/inputfield.h"
#include "panel/pixelsparkline.h"
#include "panel/planbanner.h"
#include "panel/spinner.h"
#include "panel/textbutton.h"
#include "panel/textlabel.h"
#include "panel/toast.h"
#include "panel/zonerow.h"
#include "panelfixture.h"
#include "support/testregistry.h"
#include "zonebuilder.h"

#include <QAccessible>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

using namespace kestrune;
using namespace kestrune::test;

namespace {

/// A shown panel with a filled market.
class Shown : public PanelFixture
{
public:
    explicit Shown(const QString &notice = {}) : PanelFixture(notice)
    {
        fillMarket();
        view->show();
        settle();
        announcements.clear();
    }

    [[nodiscard]] QList<ZoneRow *> rows() const { return shown<ZoneRow>(); }
    [[nodiscard]] QScrollBar *scrollBar() const
    {
        return view->findChild<QScrollArea *>()->verticalScrollBar();
    }
    [[nodiscard]] PlanBanner *banner() const { return shown<PlanBanner>().value(0); }
    [[nodiscard]] InputField *field(const QString &name) const
    {
        for (InputField *found : shown<InputField>()) {
            if (found->accessibleName() == name)
                return found;
        }
        return nullptr;
    }
    void enterAlert(const QString &text)
    {
        InputField *input = field(u"目标价"_s);
        input->setFocus();
        QTest::keyClicks(input, text);
        QTest::keyClick(input, Qt::Key_Return);
        settle();
    }
    [[nodiscard]] QStringList rowPrices() const
    {
        QStringList prices;
        for (const ZoneRow *row : rows())
            prices.append(row->priceText());
        return prices;
    }
};

bool isReadable(const TextLabel &label)
{
    return label.width() >= label.sizeHint().width() || label.sizePolicy().hasHeightForWidth() ||
           !label.toolTip().isEmpty();
}

} // namespace

class PopoverViewTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theHeaderFollowsTheState();
    void changesOfOneTurnShowTogether();
    void aHiddenPanelRestsAndCatchesUpWhenShown();
    void rowsStandAsTold();
    void aTickKeepsRowsFocusAndScrolling();
    void aRowThatGoesHandsItsFocusOn();
    void tappingRowsMovesTheSelection();
    void theBannerFollowsTheSelection();
    void theBannerSetsAlerts();
    void bellsAndAlertRowsWorkTogether();
    void typedAlerts_data();
    void typedAlerts();
    void anInstrumentIsPickedWithoutItsOldSelection();
    void timeframesAreSwitched();
    void emptyLoadingAndFailed();
    void theBlockKeepsItsHeightWhileItLoads();
    void addressesAreOpened();
    void theRefreshReportsInAToast();
    void helpOpensOverThePanel();
    void escapeClosesHelpThenThePanel();
    void itWorksInsideAnotherWindow();
    void tabFollowsTheReadingOrder();
    void tabBeginsAtTheFirstButton();
    void arrowsMoveAlongRowsAndTimeframes();
    void nothingIsCutAtAnyPrice_data();
    void nothingIsCutAtAnyPrice();
    void theMarketNoticeStandsAboveTheFooter();
    void thePanelGivesWayToALowScreen();
    void colourSchemesAreSwitchedAtOnce();
    void everythingHasANameForReaders();
};

void PopoverViewTest::theHeaderFollowsTheState()
{
    PanelFixture fixture;
    fixture.view->show();
    fixture.settle();
    QVERIFY(fixture.texts().contains(u"ETH/USDT · 永续"_s));
    QVERIFY(!fixture.shown<Spinner>().isEmpty()); // no price yet
    QVERIFY(fixture.shown<PixelSparkline>().isEmpty());
    fixture.fillMarket();
    fixture.state->changePct = -1.23;
    fixture.state->decimals = 2;
    fixture.settle();
    const QStringList header = fixture.texts().mid(0, 5);
    QCOMPARE(header, (QStringList{u"ETH/USDT · 永续"_s, u"3,456.78"_s, u"▼ -1.23%"_s, u"更新 08:30:00"_s,
                                  u"接近支撑区 · 偏买入"_s}));
    QVERIFY(fixture.shown<Spinner>().isEmpty());
    QCOMPARE(fixture.shown<PixelSparkline>().value(0)->size(), QSize(70, 16));
    QCOMPARE(fixture.shown<TextLabel>()[1]->tone(), Tone::red);
    QCOMPARE(fixture.shown<TextLabel>()[4]->tone(), Tone::green);
}

void PopoverViewTest::changesOfOneTurnShowTogether()
{
    Shown fixture;
    fixture.state->price = 1.0;
    fixture.state->decimals = 2;
    fixture.state->price = 2.0;
    QVERIFY(fixture.texts().contains(u"3,457"_s)); // nothing inside the announcing turn
    fixture.settle();
    QVERIFY(fixture.texts().contains(u"2.00"_s));
    QVERIFY(!fixture.texts().contains(u"1.00"_s));
}

void PopoverViewTest::aHiddenPanelRestsAndCatchesUpWhenShown()
{
    Shown fixture;
    fixture.state->blingMode = true;
    fixture.state->isLoading = true;
    fixture.settle();
    auto *sparkline = fixture.view->findChild<PixelSparkline *>();
    auto *bling = fixture.view->findChild<BlingButton *>();
    QVERIFY(sparkline->isPulsing() && bling->isAnimating());
    fixture.view->showToast(u"刷新成功"_s, false);
    fixture.view->hide();
    fixture.settle();
    QVERIFY(!sparkline->isPulsing() && !bling->isAnimating());
    for (const Spinner *spinner : fixture.view->findChildren<Spinner *>())
        QVERIFY(!spinner->isTurning());
    QVERIFY(fixture.view->findChild<Toast *>()->message().isEmpty());

    const auto labels = fixture.view->findChildren<TextLabel *>();
    QStringList before;
    for (const TextLabel *label : labels)
        before.append(label->text());
    fixture.tick(3500);
    fixture.settle();
    QStringList after;
    for (const TextLabel *label : labels)
        after.append(label->text());
    QCOMPARE(after, before);
    fixture.view->show(); // at once, without waiting for a change
    QVERIFY(fixture.texts().contains(u"3,500"_s));
}

void PopoverViewTest::rowsStandAsTold()
{
    Shown fixture;
    QCOMPARE(fixture.rowPrices(),
             (QStringList{u"3,744"_s, u"3,642"_s, u"3,528"_s, u"3,418"_s, u"3,306"_s, u"3,219"_s}));
    fixture.state->displayRangePct = 6;
    fixture.state->maxPerSide = 1;
    fixture.settle();
    QCOMPARE(fixture.rowPrices(), (QStringList{u"3,528"_s, u"3,418"_s})); // most confirmed within 6 %
    const QStringList texts = fixture.texts();
    QVERIFY(texts.indexOf(u"阻力"_s) < texts.indexOf(u"现价"_s));
    QVERIFY(texts.indexOf(u"现价"_s) < texts.indexOf(u"支撑"_s));
}

void PopoverViewTest::aTickKeepsRowsFocusAndScrolling()
{
    Shown fixture;
    const QList<ZoneRow *> before = fixture.rows();
    before[4]->setFocus(Qt::TabFocusReason);
    fixture.scrollBar()->setValue(37);
    const QString distance = before[4]->distance();
    fixture.tick(3460);
    fixture.settle();
    QCOMPARE(fixture.rows(), before);
    QVERIFY(before[4]->distance() != distance);
    QVERIFY(before[4]->hasFocus());
    QCOMPARE(fixture.scrollBar()->value(), 37);

    // A level between two others: their rows stay, one row is new.
    std::vector<Zone> zones = fixture.state->zones();
    zones.insert(zones.begin() + 5, makeZone(u"support"_s, 3350, -3.2, 9));
    fixture.state->zones = zones;
    fixture.settle();
    QCOMPARE(fixture.rows().size(), 7);
    QCOMPARE(fixture.rows()[4]->priceText(), u"3,350"_s);
    QCOMPARE(fixture.rows()[5], before[4]);
    QVERIFY(before[4]->hasFocus());
}

void PopoverViewTest::aRowThatGoesHandsItsFocusOn()
{
    Shown fixture;
    const QList<ZoneRow *> rows = fixture.rows();
    rows[3]->setFocus(Qt::TabFocusReason);
    std::vector<Zone> zones = fixture.state->zones();
    zones.erase(zones.begin() + 4);
    fixture.state->zones = zones;
    fixture.settle();
    QCOMPARE(fixture.view->focusWidget(), rows[4]);
}

void PopoverViewTest::tappingRowsMovesTheSelection()
{
    Shown fixture;
    const QList<ZoneRow *> rows = fixture.rows();
    QTest::mouseClick(rows[3], Qt::LeftButton);
    fixture.settle();
    QCOMPARE(fixture.state->selectedZonePrice(), std::optional(rows[3]->zone().mid));
    QCOMPARE(fixture.state->selectedZoneType(), std::optional(u"support"_s));
    QVERIFY(rows[3]->isSelected());
    QTest::keyClick(rows[1], Qt::Key_Return);
    fixture.settle();
    QVERIFY(rows[1]->isSelected() && !rows[3]->isSelected());
    QTest::keyClick(rows[1], Qt::Key_Space);
    fixture.settle();
    QVERIFY(!fixture.state->selectedZonePrice() && !fixture.state->selectedZoneType());
    QVERIFY(!rows[1]->isSelected());
    // The same price on the other side is another zone.
    fixture.state->selectedZonePrice = rows[3]->zone().mid;
    fixture.state->selectedZoneType = u"resistance"_s;
    fixture.settle();
    QVERIFY(!rows[3]->isSelected());
}

void PopoverViewTest::theBannerFollowsTheSelection()
{
    Shown fixture;
    const auto plan = fixture.state->tradePlan();
    QVERIFY(plan && fixture.banner());
    QVERIFY(fixture.texts().contains(plan->headline));
    QVERIFY(fixture.texts().contains(plan->detail));
    QVERIFY(fixture.texts().contains(u"已扣 0.15% 手续费成本"_s));
    QVERIFY(!fixture.button(u"恢复现价开单助手"_s));

    QTest::mouseClick(fixture.rows()[2], Qt::LeftButton); // a resistance: short from there
    fixture.settle();
    const QString title = u"阻力 3,528 · 做空"_s;
    QVERIFY(fixture.texts().contains(title));
    const auto picked = fixture.state->planForEntry(fixture.rows()[2]->zone().mid, TradeDirection::short_);
    QVERIFY(fixture.texts().contains(picked->detail));
    fixture.click(u"恢复现价开单助手"_s);
    QVERIFY(!fixture.texts().contains(title) && !fixture.state->selectedZonePrice());

    QTest::mouseClick(fixture.rows()[0], Qt::LeftButton);
    fixture.state->zones = {makeZone(u"resistance"_s, 3744, 8, 1)}; // no plan for it without a support
    fixture.settle();
    QVERIFY(!fixture.banner());
}

void PopoverViewTest::theBannerSetsAlerts()
{
    Shown fixture;
    const auto plan = fixture.state->tradePlan();
    fixture.click(u"设提醒"_s);
    const auto alerts = fixture.state->currentAlerts();
    QCOMPARE(alerts.size(), std::size_t(2));
    QCOMPARE(alerts[0].targetPrice, *plan->tp);
    QCOMPARE(alerts[1].targetPrice, plan->sl);
    QCOMPARE(fixture.shown<AlertRow>().size(), 2);
}

void PopoverViewTest::bellsAndAlertRowsWorkTogether()
{
    Shown fixture;
    ZoneRow *row = fixture.rows()[2];
    QTest::mouseClick(row->bell(), Qt::LeftButton);
    fixture.settle();
    QVERIFY(!fixture.state->selectedZonePrice()); // the bell is not the row
    QCOMPARE(row->bell()->iconName(), u"bell.fill"_s);
    QCOMPARE(row->bell()->toolTip(), u"取消该价位提醒"_s);
    QVERIFY(fixture.texts().contains(u"阻力 3,528"_s));
    QVERIFY(!fixture.button(u"收到"_s));

    fixture.tick(3600);
    fixture.state->evaluateAlerts();
    fixture.settle();
    AlertRow *fired = fixture.shown<AlertRow>().value(0);
    fixture.click(u"收到"_s);
    QVERIFY(!fixture.button(u"收到"_s));
    QVERIFY(!fixture.state->currentAlerts()[0].triggered);
    QCOMPARE(fixture.shown<AlertRow>().value(0), fired); // the row stayed
    fixture.click(u"删除该提醒"_s);
    QVERIFY(fixture.shown<AlertRow>().isEmpty());
    QCOMPARE(row->bell()->iconName(), u"bell"_s);

    // Another instrument's alerts are not shown.
    fixture.state->addAlert(1);
    fixture.state->coinSymbol = u"BTC"_s;
    fixture.settle();
    QVERIFY(fixture.shown<AlertRow>().isEmpty());
}

void PopoverViewTest::typedAlerts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("target"); // 0: none
    QTest::newRow("a price") << u"1950.5"_s << 1950.5;
    QTest::newRow("zero") << u"0"_s << 0.0;
    QTest::newRow("below zero") << u"-3"_s << 0.0;
    QTest::newRow("no number") << u"abc"_s << 0.0;
    QTest::newRow("infinity") << u"inf"_s << 0.0;
}

void PopoverViewTest::typedAlerts()
{
    QFETCH(QString, text);
    QFETCH(double, target);
    Shown fixture;
    fixture.enterAlert(text);
    QVERIFY(fixture.field(u"目标价"_s)->text().isEmpty()); // in every case
    const auto alerts = fixture.state->currentAlerts();
    QCOMPARE(alerts.size(), std::size_t(target > 0 ? 1 : 0));
    if (target > 0) {
        QCOMPARE(alerts[0].targetPrice, target);
        QVERIFY(alerts[0].label.startsWith(u"手动 "_s) && !alerts[0].above);
    }
    fixture.field(u"目标价"_s)->setText(u"7"_s);
    fixture.click(u"添加目标价提醒：价格涨/跌触及即触发"_s);
    QCOMPARE(fixture.state->currentAlerts().back().targetPrice, 7.0);
}

void PopoverViewTest::anInstrumentIsPickedWithoutItsOldSelection()
{
    Shown fixture;
    QTest::mouseClick(fixture.rows()[1], Qt::LeftButton);
    fixture.settle();
    fixture.announcements.clear();
    const auto chips = fixture.shown<Chip>();
    QCOMPARE(chips.value(0)->text(), u"ETH"_s);
    QVERIFY(chips[0]->isChecked());
    QTest::mouseClick(chips[1], Qt::LeftButton);
    QCOMPARE(fixture.announcements.mid(0, 3),
             (QStringList{u"selectedZonePrice"_s, u"selectedZoneType"_s, u"coinSymbol"_s}));
    QVERIFY(!fixture.state->selectedZonePrice());
    fixture.settle();
    QVERIFY(chips[1]->isChecked() && !chips[0]->isChecked());
    QCOMPARE(fixture.texts().value(0), chips[1]->text() + u"/USDT · 永续"_s);
}

void PopoverViewTest::timeframesAreSwitched()
{
    Shown fixture;
    fixture.clearLogs();
    fixture.click(u"4H"_s);
    QCOMPARE(fixture.state->timeframe(), u"4H"_s);
    QVERIFY(fixture.button(u"4H"_s)->isChecked() && !fixture.button(u"日线"_s)->isChecked());
    QVERIFY(fixture.lines().contains(gateCandleLine(u"ETH"_s, u"4h"_s)));
    fixture.state->market = MarketSegment::hk;
    fixture.state->timeframe = u"月线"_s;
    fixture.settle();
    QVERIFY(!fixture.button(u"4H"_s) && fixture.button(u"月线"_s)->isChecked());
}

void PopoverViewTest::emptyLoadingAndFailed()
{
    PanelFixture fixture;
    fixture.view->show();
    fixture.settle();
    QVERIFY(fixture.texts().contains(u"撑压数据获取失败"_s));
    fixture.clearLogs();
    fixture.click(u"暂无撑压数据，点击刷新"_s);
    QVERIFY(fixture.announcements.contains(u"isLoading"_s)); // the zones alone
    QVERIFY(!fixture.announcements.contains(u"snapshotConclusion"_s));
    fixture.state->errorMessage = std::nullopt;
    fixture.state->isLoading = true;
    fixture.settle();
    QVERIFY(fixture.texts().contains(u"加载撑压位…"_s));
    QVERIFY(!fixture.button(u"暂无撑压数据，点击刷新"_s));
    QVERIFY(!fixture.texts().contains(u"撑压数据获取失败"_s));
}

void PopoverViewTest::theBlockKeepsItsHeightWhileItLoads()
{
    Shown fixture;
    const auto placeOfAlerts = [&] {
        QWidget *input = fixture.field(u"目标价"_s);
        return input->mapTo(fixture.view.get(), QPoint(0, 0)).y();
    };
    const int before = placeOfAlerts();
    fixture.state->isLoading = true; // a refresh with rows to look at
    fixture.settle();
    QVERIFY(fixture.texts().contains(u"加载撑压位…"_s));
    QCOMPARE(placeOfAlerts(), before);
    const auto zones = fixture.state->zones();
    fixture.state->zones = {}; // a new instrument
    fixture.settle();
    QCOMPARE(placeOfAlerts(), before);
    fixture.state->zones = zones;
    fixture.state->isLoading = false;
    fixture.settle();
    QCOMPARE(placeOfAlerts(), before);
    fixture.state->isLoading = true;
    fixture.state->zones = {};
    fixture.settle();
    fixture.state->isLoading = false; // the load failed: nothing to wait for any more
    fixture.settle();
    QVERIFY(placeOfAlerts() < before);
}

void PopoverViewTest::addressesAreOpened()
{
    Shown fixture;
    const QString tip = u"在 TradingView 打开 BINANCE:ETHUSDT.P"_s;
    fixture.click(tip);
    QCOMPARE(fixture.opened, QList<QUrl>{*fixture.state->tradingViewURL()});
    fixture.click(u"打开网页版"_s);
    QCOMPARE(fixture.opened.size(), 2);
    QVERIFY(fixture.opened[1].isValid() && fixture.opened[1].scheme() == u"https");
    QVERIFY(!fixture.state->blingMode());
    fixture.click(u"赚翻了：状态栏多标的霓虹灯效"_s);
    QVERIFY(fixture.state->blingMode() && fixture.button(u"停止炫彩"_s));
}

void PopoverViewTest::theRefreshReportsInAToast()
{
    Shown fixture;
    auto *toast = fixture.view->findChild<Toast *>();
    fixture.click(u"刷新数据"_s);
    QCOMPARE(toast->message(), u"撑压数据获取失败"_s);
    QVERIFY(toast->isError());
    fixture.serveCrypto(3000);
    fixture.click(u"刷新数据"_s);
    QCOMPARE(toast->message(), u"刷新成功"_s);
    QVERIFY(!toast->isError());
    // Inside the panel, above the footer's actions.
    QVERIFY(fixture.view->rect().contains(toast->geometry()));
    QVERIFY(toast->geometry().bottom() - 22 <= fixture.button(u"刷新数据"_s)->parentWidget()->y());
    fixture.view.reset(); // the answer of a refresh that outlives its panel goes nowhere
    fixture.settle();
}

void PopoverViewTest::helpOpensOverThePanel()
{
    QCOMPARE(sheetGeometry({500, 100, 320, 900}, {380, 460}, {0, 0, 1920, 1080}), QRect(469, 319, 380, 460));
    QCOMPARE(sheetGeometry({0, 0, 320, 900}, {380, 460}, {0, 0, 1920, 1080}).left(), 0);
    QCOMPARE(sheetGeometry({1600, 0, 320, 900}, {380, 460}, {0, 0, 1920, 1080}).right(), 1919);
    QCOMPARE(sheetGeometry({100, 27, 320, 400}, {380, 460}, {0, 27, 1024, 400}).top(), 27);

    Shown fixture;
    fixture.click(u"使用说明"_s);
    QVERIFY(fixture.view->isHelpShown() && fixture.view->isVisible());
    auto *help = fixture.view->findChild<HelpView *>();
    QCOMPARE(help->size(), QSize(380, 460));
    QVERIFY(help->window() != fixture.view.get());
    QCOMPARE(paletteOf(help).dark, paletteOf(fixture.view.get()).dark);
    const auto closers = help->findChildren<QAbstractButton *>();
    QCOMPARE(closers.size(), 2);
    for (QAbstractButton *closer : closers) {
        fixture.click(u"使用说明"_s);
        QTest::mouseClick(closer, Qt::LeftButton);
        QVERIFY(!fixture.view->isHelpShown() && fixture.view->isVisible());
    }
    fixture.click(u"使用说明"_s);
    QTest::mouseClick(help->window(), Qt::LeftButton, {}, QPoint(-30, -30)); // outside
    QVERIFY(!fixture.view->isHelpShown() && fixture.view->isVisible());
    fixture.click(u"使用说明"_s);
    fixture.view->hide();
    QVERIFY(!help->isVisible());
}

void PopoverViewTest::escapeClosesHelpThenThePanel()
{
    Shown fixture;
    int requests = 0;
    connect(fixture.view.get(), &PopoverView::closeRequested, this, [&] { ++requests; });
    fixture.click(u"使用说明"_s);
    QTest::keyClick(fixture.view->findChild<HelpView *>(), Qt::Key_Escape);
    QVERIFY(!fixture.view->isHelpShown() && fixture.view->isVisible());
    QCOMPARE(requests, 0);
    fixture.field(u"目标价"_s)->setFocus();
    QTest::keyClick(fixture.field(u"目标价"_s), Qt::Key_Escape); // from inside a field too
    QCOMPARE(requests, 1);
    QVERIFY(!fixture.view->isVisible());
}

// The program shows the panel inside the window of its popover.
void PopoverViewTest::itWorksInsideAnotherWindow()
{
    QWidget window;
    PanelFixture fixture;
    fixture.fillMarket();
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins({});
    layout->addWidget(fixture.view.get());
    fixture.state->marketContextExpanded = true;
    fixture.tick(3500);
    window.show();
    QVERIFY(fixture.texts().contains(u"3,500"_s));
    QVERIFY(fixture.texts().contains(u"RSI(14)"_s)); // unfolded at once
    const QImage first = window.grab().toImage();
    fixture.settle();
    QVERIFY(window.grab().toImage() == first); // nothing was still moving

    ZoneRow *row = fixture.shown<ZoneRow>()[3];
    row->setFocus(Qt::TabFocusReason);
    QVERIFY(fixture.view->findChild<FocusRing *>()->target());
    QTest::keyClick(row, Qt::Key_Escape);
    QVERIFY(fixture.view->isVisible()); // the window's affair

    auto *sparkline = fixture.view->findChild<PixelSparkline *>();
    QVERIFY(sparkline->isPulsing());
    window.hide();
    QVERIFY(!sparkline->isPulsing());
    fixture.tick(3600);
    fixture.settle();
    window.show();
    QVERIFY(fixture.texts().contains(u"3,600"_s));
}

void PopoverViewTest::tabFollowsTheReadingOrder()
{
    Shown fixture;
    fixture.view->setSettingsExpanded(true);
    fixture.enterAlert(u"7"_s);
    QTest::mouseClick(fixture.rows()[4], Qt::LeftButton);
    std::vector<Zone> zones = fixture.state->zones();
    zones.insert(zones.begin(), makeZone(u"resistance"_s, 3800, 9.9, 1)); // rows that came late
    zones.push_back(makeZone(u"support"_s, 3100, -10, 3));
    fixture.state->zones = zones;
    fixture.view->activateWindow();
    fixture.view->setFixedHeight(2400); // everything shows, nothing scrolls
    fixture.settle();
    QTest::qWait(250); // the settings unfold
    QWidget *first = fixture.button(u"1H"_s);
    first->setFocus(Qt::TabFocusReason);
    QList<QWidget *> order;
    for (QWidget *at = first; !order.contains(at); at = fixture.view->focusWidget()) {
        order.append(at);
        QTest::keyClick(at, Qt::Key_Tab);
        QVERIFY2(order.size() < 200, "Tab does not come round");
    }
    QVERIFY(order.size() > 50);
    QCOMPARE(fixture.view->focusWidget(), first);
    const auto place = [&](const QWidget *widget) {
        return widget->mapTo(fixture.view.get(), widget->rect().center());
    };
    for (qsizetype i = 1; i < order.size(); ++i) {
        const QPoint here = place(order[i]);
        const QPoint before = place(order[i - 1]);
        const bool inside = order[i - 1]->isAncestorOf(order[i]);
        const bool below = here.y() > before.y() + 14;
        const bool beside = std::abs(here.y() - before.y()) <= 14 && here.x() > before.x();
        QVERIFY2(inside || below || beside, qPrintable(u"%1 after %2"_s.arg(order[i]->accessibleName(),
                                                                            order[i - 1]->accessibleName())));
    }
}

void PopoverViewTest::tabBeginsAtTheFirstButton()
{
    Shown fixture;
    fixture.view->setSettingsExpanded(true);
    fixture.view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(fixture.view.get()));
    // The toolkit itself gives the focus of a new window to the first stop.
    QCOMPARE(fixture.view->focusWidget(), fixture.button(u"1H"_s));
    QVERIFY(!fixture.view->findChild<FocusRing *>()->target()); // not by the keyboard
    QTest::keyClick(fixture.view->focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
    QCOMPARE(fixture.view->focusWidget(), fixture.button(u"赚翻了：状态栏多标的霓虹灯效"_s));
}

void PopoverViewTest::arrowsMoveAlongRowsAndTimeframes()
{
    Shown fixture;
    const auto rows = fixture.rows();
    rows[2]->setFocus(Qt::TabFocusReason);
    QTest::keyClick(rows[2], Qt::Key_Down);
    QCOMPARE(fixture.view->focusWidget(), rows[3]); // over the price line to the supports
    QTest::keyClick(rows[3], Qt::Key_Up);
    QTest::keyClick(rows[2], Qt::Key_Up);
    QCOMPARE(fixture.view->focusWidget(), rows[1]);
    QAbstractButton *day = fixture.button(u"日线"_s);
    day->setFocus(Qt::TabFocusReason);
    QTest::keyClick(day, Qt::Key_Right); // the last one
    QCOMPARE(fixture.view->focusWidget(), day);
    QTest::keyClick(day, Qt::Key_Left);
    QTest::keyClick(fixture.view->focusWidget(), Qt::Key_Return);
    QCOMPARE(fixture.state->timeframe(), u"4H"_s);
}

void PopoverViewTest::nothingIsCutAtAnyPrice_data()
{
    QTest::addColumn<double>("base");
    QTest::addColumn<int>("decimals");
    QTest::newRow("tiny") << 0.000012 << 6;
    QTest::newRow("ordinary") << 3456.78 << 2;
    QTest::newRow("huge") << 1234567.89 << 2;
}

void PopoverViewTest::nothingIsCutAtAnyPrice()
{
    QFETCH(double, base);
    QFETCH(int, decimals);
    PanelFixture fixture;
    fixture.fillMarket(base);
    fixture.state->decimals = decimals;
    fixture.state->accountSize = 123456789;
    fixture.state->leverage = 125;
    fixture.state->isLoading = true;
    fixture.state->changePct = -100.0;
    fixture.state->marketContextExpanded = true;
    fixture.state->selectedZonePrice = fixture.state->zones()[4].mid;
    fixture.state->selectedZoneType = u"support"_s;
    fixture.state->addAlert(base * 1.01);
    fixture.view->setSettingsExpanded(true);
    fixture.view->show();
    fixture.settle();
    const auto labels = fixture.shown<TextLabel>();
    QVERIFY(labels.size() > 40);
    for (const TextLabel *label : labels) {
        QVERIFY2(isReadable(*label), qPrintable(label->text()));
        QVERIFY2(label->height() >= label->heightForWidth(label->width()), qPrintable(label->text()));
        QVERIFY2(label->parentWidget()->rect().contains(label->geometry()), qPrintable(label->text()));
        for (const TextLabel *other : labels) {
            if (other != label && other->parentWidget() == label->parentWidget())
                QVERIFY2(!label->geometry().intersects(other->geometry()), qPrintable(label->text()));
        }
    }
    // The instrument's name is read in full beside the longest price.
    QVERIFY(labels[0]->width() >= labels[0]->sizeHint().width());
    for (const ZoneRow *row : fixture.shown<ZoneRow>())
        QVERIFY(row->height() >= row->heightForWidth(row->width()));
}

void PopoverViewTest::theMarketNoticeStandsAboveTheFooter()
{
    const QString notice = u"行情服务器 a.very.long.host.name.of.some.market.server.example.com"_s;
    Shown fixture(notice);
    const auto labels = fixture.shown<TextLabel>();
    const auto found = std::ranges::find(labels, notice, &TextLabel::text);
    QVERIFY(found != labels.end());
    QCOMPARE((*found)->tone(), Tone::orange);
    QCOMPARE((*found)->toolTip(), notice); // cut in the middle, whole in the tooltip
    QVERIFY((*found)->mapTo(fixture.view.get(), QPoint(0, 0)).y() <
            fixture.button(u"刷新数据"_s)->mapTo(fixture.view.get(), QPoint(0, 0)).y());
    QCOMPARE(labels.last()->text(), u"仅供学习参考，不构成投资建议。"_s);
    QVERIFY(!Shown().texts().join(u' ').contains(u"行情服务器"_s));
}

void PopoverViewTest::thePanelGivesWayToALowScreen()
{
    Shown fixture;
    QCOMPARE(fixture.view->size(), QSize(320, 900));
    const int footer = fixture.button(u"刷新数据"_s)->mapTo(fixture.view.get(), QPoint(0, 0)).y();
    fixture.view->setMaximumPanelHeight(600);
    fixture.settle();
    QCOMPARE(fixture.view->size(), QSize(320, 600));
    QCOMPARE(fixture.button(u"刷新数据"_s)->mapTo(fixture.view.get(), QPoint(0, 0)).y(), footer - 300);
    fixture.view->setMaximumPanelHeight(2000);
    QCOMPARE(fixture.view->height(), 900);
    fixture.view->setMaximumPanelHeight(-5);
    QVERIFY(fixture.view->height() > 100);
}

void PopoverViewTest::colourSchemesAreSwitchedAtOnce()
{
    Shown fixture;
    QVERIFY(paletteOf(fixture.rows()[0]).dark);
    QCOMPARE(fixture.view->grab().toImage().pixelColor(2, 2), darkPalette().ground);
    fixture.view->setDark(false);
    QCOMPARE(fixture.view->grab().toImage().pixelColor(2, 2), lightPalette().ground);
    for (QWidget *widget : fixture.view->findChildren<QWidget *>())
        QVERIFY2(!paletteOf(widget).dark, widget->metaObject()->className());
}

void PopoverViewTest::everythingHasANameForReaders()
{
    Shown fixture;
    fixture.view->setSettingsExpanded(true);
    fixture.state->marketContextExpanded = true;
    fixture.enterAlert(u"7"_s);
    for (QWidget *widget : fixture.shown<QWidget>()) {
        if (widget->focusPolicy() == Qt::NoFocus && !qobject_cast<PixelSparkline *>(widget))
            continue;
        const auto *reader = QAccessible::queryAccessibleInterface(widget);
        QVERIFY(reader);
        QVERIFY2(!reader->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
        if (qobject_cast<IconButton *>(widget))
            QVERIFY2(!widget->toolTip().isEmpty(), qPrintable(widget->accessibleName()));
    }
}

KESTRUNE_TEST(PopoverViewTest)
#include "tst_popoverview.moc"
