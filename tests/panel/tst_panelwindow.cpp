// SPDX-License-Identifier: MIT
#include "ui/disclosure.h"
#include "ui/focusring.h"
#include "panel/helpsheet.h"
#include "panel/helpview.h"
#include "ui/iconbutton.h"
#include "ui/inputfield.h"
#include "panel/pixelsparkline.h"
#include "ui/scrollarea.h"
#include "ui/textlabel.h"
#include "panel/zonerow.h"
#include "panelfixture.h"
#include "support/testregistry.h"
#include "zonebuilder.h"

#include <QAccessible>
#include <QScrollBar>
#include <QToolTip>
#include <QVBoxLayout>

#include <algorithm>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// Whether nothing around a label cuts it off, but for what can be scrolled.
bool isWithinAll(const TextLabel &label)
{
    for (const QWidget *at = label.parentWidget(); at && !at->isWindow(); at = at->parentWidget()) {
        if (!at->rect().contains(QRect(label.mapTo(at, QPoint(0, 0)), label.size())))
            return qobject_cast<const QAbstractScrollArea *>(at->parentWidget()) != nullptr;
    }
    return true;
}

bool isReadable(const TextLabel &label)
{
    return label.width() >= label.sizeHint().width() || label.sizePolicy().hasHeightForWidth() ||
           !label.toolTip().isEmpty();
}

} // namespace

class PanelWindowTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void helpOpensOverThePanel();
    void escapeClosesHelpThenThePanel();
    void itWorksInsideAnotherWindow();
    void tabFollowsTheReadingOrder();
    void tabBeginsAtTheFirstButton();
    void arrowsMoveAlongRowsAndTimeframes();
    void unfoldedSectionsComeIntoView();
    void nothingIsCutAtAnyPrice_data();
    void nothingIsCutAtAnyPrice();
    void theMarketNoticeStandsAboveTheFooter();
    void thePanelGivesWayToALowScreen();
    void colourSchemesAreSwitchedAtOnce();
    void everythingHasANameForReaders();
};

void PanelWindowTest::helpOpensOverThePanel()
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

void PanelWindowTest::escapeClosesHelpThenThePanel()
{
    Shown fixture;
    int requests = 0;
    connect(fixture.view.get(), &PopoverView::closeRequested, this, [&] { ++requests; });
    fixture.click(u"使用说明"_s);
    auto *help = fixture.view->findChild<HelpView *>();
    QTest::keyClick(help->window()->focusWidget(), Qt::Key_PageDown); // it scrolls at once, without a Tab
    QVERIFY(help->findChild<QScrollArea *>()->verticalScrollBar()->value() > 100);
    QTest::keyClick(help->window()->focusWidget(), Qt::Key_Escape);
    QVERIFY(!fixture.view->isHelpShown() && fixture.view->isVisible());
    QCOMPARE(requests, 0);
    fixture.field(u"目标价"_s)->setFocus();
    QTest::keyClick(fixture.field(u"目标价"_s), Qt::Key_Escape); // from inside a field too
    QCOMPARE(requests, 1);
    QVERIFY(!fixture.view->isVisible());
}

// The program shows the panel inside the window of its popover.
void PanelWindowTest::itWorksInsideAnotherWindow()
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

void PanelWindowTest::tabFollowsTheReadingOrder()
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

void PanelWindowTest::tabBeginsAtTheFirstButton()
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

void PanelWindowTest::arrowsMoveAlongRowsAndTimeframes()
{
    Shown fixture;
    fixture.view->setMaximumPanelHeight(300);
    fixture.settle();
    const auto rows = fixture.rows();
    rows[2]->setFocus(Qt::TabFocusReason);
    QTest::keyClick(rows[2], Qt::Key_Down);
    QCOMPARE(fixture.view->focusWidget(), rows[3]);                     // over the price line to the supports
    QCOMPARE(rows[3]->visibleRegion().boundingRect(), rows[3]->rect()); // scrolled to where it is seen
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

void PanelWindowTest::unfoldedSectionsComeIntoView()
{
    Shown fixture;
    auto *bar = fixture.view->findChild<ScrollArea *>()->verticalScrollBar();
    const auto inView = [&](const QWidget *widget) {
        return widget->visibleRegion().boundingRect() == widget->rect();
    };
    const auto titled = [&](const QString &title) {
        const auto headers = fixture.shown<DisclosureHeader>();
        return *std::ranges::find(headers, title, &DisclosureHeader::text);
    };
    fixture.view->setMaximumPanelHeight(850);
    fixture.settle();
    bar->setValue(bar->maximum());
    DisclosureHeader *settings = titled(u"设置"_s);
    const QWidget *last = settings->parentWidget();
    QVERIFY(inView(last)); // only its title yet
    const int folded = last->height();
    QTest::mouseClick(settings, Qt::LeftButton);
    QTRY_VERIFY(last->height() > folded + 200 && inView(last));
    QTest::qWait(250);
    QVERIFY(inView(last));
    QVERIFY(inView(settings));

    // A view too low for all of it keeps the title, and folding it scrolls nothing by itself.
    QTest::mouseClick(settings, Qt::LeftButton);
    QTRY_COMPARE(last->height(), folded);
    fixture.view->setMaximumPanelHeight(500);
    fixture.settle();
    bar->setValue(bar->maximum());
    QTest::mouseClick(settings, Qt::LeftButton);
    QTRY_VERIFY(last->height() > folded + 200);
    QTest::qWait(250);
    QVERIFY(inView(settings));
    QVERIFY(!inView(last));

    // What is in view anyway stays where it is.
    QTest::mouseClick(settings, Qt::LeftButton);
    QTRY_COMPARE(last->height(), folded);
    fixture.view->setMaximumPanelHeight(900);
    fixture.settle();
    bar->setValue(20);
    DisclosureHeader *context = titled(u"市场背景"_s);
    QVERIFY(inView(context));
    QTest::mouseClick(context, Qt::LeftButton);
    QTest::qWait(300);
    QVERIFY(inView(context->parentWidget()));
}

void PanelWindowTest::nothingIsCutAtAnyPrice_data()
{
    QTest::addColumn<double>("base");
    QTest::addColumn<int>("decimals");
    QTest::newRow("tiny") << 0.000012 << 6;
    QTest::newRow("huge") << 1234567.89 << 2;
}

void PanelWindowTest::nothingIsCutAtAnyPrice()
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
        QVERIFY2(isWithinAll(*label), qPrintable(label->text()));
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

void PanelWindowTest::theMarketNoticeStandsAboveTheFooter()
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

void PanelWindowTest::thePanelGivesWayToALowScreen()
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

void PanelWindowTest::colourSchemesAreSwitchedAtOnce()
{
    Shown fixture;
    QVERIFY(paletteOf(fixture.rows()[0]).dark);
    QCOMPARE(fixture.view->grab().toImage().pixelColor(2, 2), darkPalette().ground);
    fixture.view->setDark(false);
    // Tooltips too, and a long one is wrapped.
    fixture.click(u"价格提醒 · 说明"_s);
    const auto windows = QApplication::topLevelWidgets();
    const auto tip = std::ranges::find_if(
        windows, [](const QWidget *window) { return window->inherits("QTipLabel") && window->isVisible(); });
    QVERIFY(tip != windows.end() && (*tip)->width() <= fixture.view->width());
    QCOMPARE((*tip)->palette().color(QPalette::ToolTipText), lightPalette().text);
    QToolTip::hideText();
    QCOMPARE(fixture.view->grab().toImage().pixelColor(2, 2), lightPalette().ground);
    for (QWidget *widget : fixture.view->findChildren<QWidget *>())
        QVERIFY2(!paletteOf(widget).dark, widget->metaObject()->className());
}

void PanelWindowTest::everythingHasANameForReaders()
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

KESTRUNE_TEST(PanelWindowTest)
#include "tst_panelwindow.moc"
