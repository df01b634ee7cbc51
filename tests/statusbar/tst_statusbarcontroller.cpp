// SPDX-License-Identifier: MIT
#include "panel/popoverview.h"
#include "statusbar/statusbarcontroller.h"

#include "statusbar/fakeitem.h"
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestStatusBarController : public QObject
{
    Q_OBJECT

    /// A controller over a running state, an item and a panel that keep what they are given.
    struct Bar
    {
        AppFixture app;
        FakeItem item;
        std::vector<bool> panelDark;
        int panelHeight = 0;
        QStringList errors;
        std::unique_ptr<StatusBarController> controller;

        Bar()
        {
            app.serveCrypto(3000);
            app.start();
            const auto makePanel = [this](const std::shared_ptr<AppState> &, QWidget *parent) {
                return PanelContent{new QLineEdit(parent), [this](bool dark) { panelDark.push_back(dark); },
                                    [this](int height) { panelHeight = height; },
                                    [this](const QString &message) { errors.append(message); }};
            };
            controller = std::make_unique<StatusBarController>(app.state, item, Appearance{}, makePanel);
        }
        [[nodiscard]] Popover &popover() const { return controller->popover(); }
        [[nodiscard]] bool isOpen() const { return popover().isVisible(); }
        void click() { item.click(QRect(600, 0, 100, 22)); }
    };

private Q_SLOTS:
    void redrawsAtEveryTickOnce()
    {
        Bar bar;
        QCOMPARE(bar.item.shown.size(), 1U);
        bar.item.shown.clear();
        bar.app.tickTo(3001);
        bar.app.clock.advance(5s);
        QCOMPARE(bar.item.last().status.text, bar.app.state->menuTitle());
        QCOMPARE(bar.item.last().title, u"ETH  3,001  +1.50%"_s);
        QCOMPARE(bar.item.last().detail, bar.app.state->statusText());
        bar.app.clock.advance(60s);          // twelve ticks at the same price
        QCOMPARE(bar.item.shown.size(), 1U); // price and zones are two changes that draw the same picture
    }

    void aPriceThatIsOldOrAnothersLooksLikeNone()
    {
        Bar bar;
        AppState &state = *bar.app.state;
        QVERIFY(!bar.item.last().status.dimmed);
        bar.app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
        bar.app.clock.advance(130s);
        QVERIFY(bar.item.last().status.dimmed);
        QCOMPARE(bar.item.last().status.text, u"ETH  3,000 ·2m"_s);
        QCOMPARE(bar.item.last().title, u"ETH  3,000  +1.50% · 2 分钟前 · 价格获取失败"_s);
        QCOMPARE(bar.item.last().detail, u"等待数据"_s);
        state.miniMode = true; // seen at once
        drainEvents();
        QCOMPARE(bar.item.last().status.text, u"3,000 ·2m"_s);
        state.setCoin(u"BTC"_s);
        drainEvents();
        QVERIFY(bar.item.last().status.dimmed);
        QCOMPARE(bar.item.last().title, u"等待 BTC 报价…"_s);
        bar.app.tickTo(60000);
        bar.app.clock.advance(5s);
        QVERIFY(!bar.item.last().status.dimmed);
        const BarSignal before = bar.item.last().status.signal;
        state.signalThreshold = before == BarSignal::neutral ? 1e6 : 0;
        drainEvents();
        QVERIFY(bar.item.last().status.signal != before);

        state.toggleBlingMode();
        drainEvents();
        QVERIFY(!bar.item.last().signs[0].dimmed);
        bar.app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
        bar.app.clock.advance(31s);
        QVERIFY(bar.item.last().signs[0].dimmed);
    }

    void blinksWhileAnAlertIsActive()
    {
        Bar bar;
        bar.app.state->addAlert(2990, {}, false);
        bar.app.tickTo(2985);
        bar.app.clock.advance(5s);
        QVERIFY(bar.item.last().status.alertActive);
        bar.item.shown.clear();
        bar.app.clock.advance(1600ms); // four phases
        QCOMPARE(bar.item.shown.size(), 4U);
        for (std::size_t i = 1; i < bar.item.shown.size(); ++i)
            QVERIFY(!samePicture(bar.item.shown[i - 1], bar.item.shown[i]));
        bar.app.state->dismissAlert(bar.app.state->alerts().front().id);
        drainEvents();
        QVERIFY(!bar.item.last().status.alertActive);
    }

    void showsNeonSignsAndClosesThePanel()
    {
        Bar bar;
        bar.click();
        QVERIFY(bar.isOpen());
        bar.app.state->toggleBlingMode();
        drainEvents();
        QVERIFY(!bar.isOpen() && bar.item.last().bling && bar.item.last().signs.size() == 8);
        bar.app.state->multiPrices = {{u"X"_s, 1.0, {}}, {u"ETH"_s, 1.0, {}}, {u"BTC"_s, 1.0, {}}};
        drainEvents();
        for (const auto &[at, symbol] : {std::pair(0, u"BTC"_s), {1, u"ETH"_s}, {2, u"X"_s}})
            QCOMPARE(bar.item.last().signs[std::size_t(at)].symbol, symbol); // in the order of the list
        bar.item.shown.clear();
        bar.app.clock.advance(450ms); // three pulses
        QCOMPARE(bar.item.shown.size(), 3U);
        bar.app.state->toggleBlingMode();
        drainEvents();
        QVERIFY(!bar.item.last().bling);
    }

    void followsTheAppearance()
    {
        Bar bar;
        QVERIFY(!bar.item.last().status.dark);
        bar.click();
        bar.controller->setAppearance({.darkBar = true, .darkDesktop = false});
        QVERIFY(bar.item.last().status.dark);
        bar.controller->setAppearance({.darkBar = true, .darkDesktop = true});
        QCOMPARE(bar.panelDark, (std::vector<bool>{false, false, true}));
        QCOMPARE(bar.item.shown.size(), 2U); // the item does not care for windows
    }

    void opensAndClosesByClick()
    {
        Bar bar;
        bar.click();
        QVERIFY(bar.isOpen());
        const QRect available = bar.popover().screen()->availableGeometry();
        QVERIFY(available.contains(bar.popover().geometry()));
        QCOMPARE(bar.panelHeight, bar.popover().height());
        bar.click();
        QVERIFY(!bar.isOpen());
        bar.click(); // the same click, seen by the item after it has closed the panel
        QVERIFY(!bar.isOpen());
        QVERIFY(waitFor([&] { return !bar.popover().hasJustClosed(); }));
        bar.item.where = QRect(300, 0, 100, 22);
        bar.item.click(QRect()); // the host gives no place, but the item knows its own
        QCOMPARE(bar.popover().x(), 190);
        bar.popover().close();
        bar.item.where.reset();
        bar.popover().showError(u"first"_s); // when it opens next
        QVERIFY(bar.errors.isEmpty());
        bar.controller->showPopover();
        bar.popover().showError(u"second"_s);
        QCOMPARE(bar.popover().geometry().right(), available.right());
        QTest::keyClick(&bar.popover(), Qt::Key_Escape);
        QVERIFY(!bar.isOpen());
        bar.controller->showPopover();
        QCOMPARE(bar.errors, (QStringList{u"first"_s, u"second"_s}));
        QTest::mouseClick(&bar.popover(), Qt::LeftButton, {}, QPoint(-20, 40)); // elsewhere
        QVERIFY(!bar.isOpen());
    }

    void announcesAFocusOnceHoweverOftenThePanelWasOpened()
    {
        Bar bar;
        for (int i = 0; i < 4; ++i) {
            bar.popover().close();
            bar.controller->showPopover();
            QVERIFY(waitFor([&] { return QGuiApplication::focusWindow() == bar.popover().windowHandle(); }));
        }
        const QSignalSpy announced(qGuiApp, &QGuiApplication::focusObjectChanged);
        bar.popover().findChild<QLineEdit *>()->setFocus();
        QCOMPARE(announced.count(), 1);
    }

    void theWindowGrowsByTheChartAndShrinksAgain()
    {
        AppFixture fixture;
        fixture.preferences.preset(u"ks_chart_size"_s, u"400x300"_s);
        fixture.serveCrypto(3000);
        fixture.start();
        PopoverView *view = nullptr;
        Popover popover([&](QWidget *parent) {
            view = new PopoverView(fixture.state, {}, parent);
            return PanelContent{view,
                                [&](bool dark) { view->setDark(dark); },
                                [&](int height) { view->setMaximumPanelHeight(height); },
                                {}};
        });
        popover.openAt({700, 0, 60, 20});
        const QRect alone = popover.geometry();
        const auto toggle = [&] {
            QTest::keyClick(view, Qt::Key_C);
            drainEvents();
        };
        toggle();
        QCOMPARE(popover.geometry(), alone.adjusted(-406, 0, 0, 0)); // the chart and a gap, to the left
        QCOMPARE(QRect(view->mapToGlobal(QPoint()), view->size()), alone);
        QVERIFY(popover.mask().contains(QPoint(10, 290)) && !popover.mask().contains(QPoint(10, 310)));
        toggle();
        QCOMPARE(popover.geometry(), alone);
        QVERIFY(popover.mask().isEmpty());
        toggle();
        QTest::mouseClick(&popover, Qt::LeftButton, {}, {10, 310}); // in the corner that is not there
        QVERIFY(!popover.isVisible());
        drainEvents();
        popover.openAt({700, 0, 60, 20});
        QCOMPARE(popover.geometry(), alone);
        QVERIFY(popover.mask().isEmpty());
    }
};

KESTRUNE_TEST(TestStatusBarController)
#include "tst_statusbarcontroller.moc"
