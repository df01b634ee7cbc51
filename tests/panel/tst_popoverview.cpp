// SPDX-License-Identifier: MIT
#include "panel/alertrow.h"
#include "panel/blingbutton.h"
#include "ui/chip.h"
#include "ui/iconbutton.h"
#include "ui/inputfield.h"
#include "panel/pixelsparkline.h"
#include "panel/planbanner.h"
#include "ui/spinner.h"
#include "ui/textlabel.h"
#include "ui/toast.h"
#include "panel/zonerow.h"
#include "panelfixture.h"
#include "support/testregistry.h"
#include "zonebuilder.h"

#include <QScrollBar>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class PopoverViewTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theHeaderFollowsTheState();
    void changesOfOneTurnShowTogether();
    void aHiddenPanelRestsAndCatchesUpWhenShown();
    void rowsStandAsTold();
    void aTickKeepsRowsFocusAndScrolling();
    void tappingRowsMovesTheSelection();
    void theBannerFollowsTheSelection();
    void bellsAndAlertRowsWorkTogether();
    void typedAlerts();
    void anInstrumentIsPickedWithoutItsOldSelection();
    void emptyLoadingAndFailed();
    void theBlockKeepsItsHeightWhileItLoads();
    void theHeadersButtonsReachTheirAims();
    void theRefreshReportsInAToast();
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

    // A row that goes hands its focus to the one in its place; the last one to the row above it.
    before[5]->setFocus(Qt::TabFocusReason);
    zones.pop_back();
    fixture.state->zones = zones;
    fixture.settle();
    QCOMPARE(fixture.rows().size(), 6);
    QCOMPARE(fixture.view->focusWidget(), before[4]);
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
    fixture.click(u"设提醒"_s);
    const auto alerts = fixture.state->currentAlerts();
    QCOMPARE(alerts.size(), std::size_t(2));
    QCOMPARE(alerts[0].targetPrice, *plan->tp);
    QCOMPARE(alerts[1].targetPrice, plan->sl);

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

void PopoverViewTest::typedAlerts()
{
    Shown fixture;
    for (const QString &text : {u"0"_s, u"inf"_s, u"1950.5"_s}) {
        QVERIFY(fixture.state->currentAlerts().empty());
        fixture.enterAlert(text);
        QVERIFY(fixture.field(u"目标价"_s)->text().isEmpty()); // in every case
    }
    const auto alerts = fixture.state->currentAlerts();
    QCOMPARE(alerts.size(), std::size_t(1));
    QCOMPARE(alerts[0].targetPrice, 1950.5);
    QVERIFY(alerts[0].label.startsWith(u"手动 "_s) && !alerts[0].above);
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

void PopoverViewTest::theHeadersButtonsReachTheirAims()
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

KESTRUNE_TEST(PopoverViewTest)
#include "tst_popoverview.moc"
