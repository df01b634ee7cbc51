// SPDX-License-Identifier: MIT
#include "panelfixture.h"

#include "panel/blingbutton.h"
#include "panel/pixelsparkline.h"
#include "panel/zonerow.h"
#include "support/eventloop.h"
#include "support/rows.h"
#include "support/testregistry.h"
#include "ui/iconbutton.h"
#include "ui/spinner.h"
#include "ui/toast.h"
#include "viewmodel/planbannermodel.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>

using namespace kestrune;
using namespace kestrune::test;

/// What the panel shows of the state, and what pressing and typing does to the state.
class PanelTest : public QObject
{
    Q_OBJECT

    inline static const QString above = u"阻力 3,528 +2.07%"_s;
    inline static const QString below = u"支撑 3,418 -1.12%"_s;
    inline static const QString threshold = u"买卖预警阈值 (%)"_s;
    inline static const QString range = u"显示范围 ±(%)"_s;
    inline static const QString perSide = u"每侧最多(个)"_s;
    inline static const QString account = u"账户总额"_s;
    inline static const QString risk = u"单笔最多亏 (%)"_s;
    inline static const QString leverage = u"开单杠杆 (x)"_s;
    inline static const QString target = u"目标价"_s;

private Q_SLOTS:
    void itBeginsEmptyAndFillsAsTheMarketAnswers()
    {
        const QString failed = u"撑压数据获取失败 · 自 08:30"_s;
        const QString again = u"暂无撑压数据，点击刷新"_s;
        PanelFixture panel;
        panel.view->show();
        drainEvents();
        QVERIFY(panel.shows(u"ETH/USDT · 永续"_s) && panel.shows(failed));
        QVERIFY(panel.find(u"价格加载中"_s) && !panel.find(u"价格走势"_s)); // no price yet
        panel.clearLogs();
        panel.press(again);
        QVERIFY(panel.announcements.contains(u"isLoading"_s)); // the zones alone
        QVERIFY(!panel.announcements.contains(u"snapshotConclusion"_s));
        panel.state->errorMessage = std::nullopt; // another kind has come
        panel.state->isLoading = true;
        drainEvents();
        QVERIFY(panel.shows(u"加载撑压位…"_s) && !panel.find(again) && panel.shows(failed));
        QVERIFY(panel.shows(u"—"_s) && panel.shows(u"等待数据"_s)); // no zone price, no verdict

        panel.fillMarket();
        panel.state->changePct = -1.23;
        panel.state->price = 1.0; // nothing is shown inside the announcing turn
        panel.state->decimals = 2;
        panel.state->price = 3456.78;
        QVERIFY(panel.shows(u"3,457"_s));
        drainEvents();
        QCOMPARE(panel.texts().mid(0, 5).join(u'|'),
                 u"ETH/USDT · 永续|3,456.78|▼ -1.23%|更新 08:30:00|接近支撑区 · 偏买入"_s);
        QVERIFY(!panel.find(u"价格加载中"_s));
        QCOMPARE(panel.find(u"价格走势"_s)->size(), QSize(70, 16));
        QCOMPARE(panel.tone(u"接近支撑区 · 偏买入"_s), Tone::green);
    }

    void whatIsOldOrAnothersIsGrey()
    {
        Shown panel(true);
        const QStringList coloured{u"3,457"_s, u"▲ 2.35%"_s, u"强多"_s, u"中性"_s};
        const auto isGrey = [&panel](const QString &text) { return panel.tone(text) == Tone::secondary; };
        QVERIFY(std::ranges::none_of(coloured, isGrey));
        panel.clock.passSteady(std::chrono::minutes(4));
        panel.state->agesPassed = 1;
        drainEvents();
        QVERIFY(std::ranges::all_of(coloured, isGrey));
        QVERIFY(isGrey(u"多周期同步偏多 · 短中长一致 · 4 分钟前"_s) && panel.shows(u"撑压 4 分钟前"_s));
        QVERIFY(!panel.find(u"设提醒"_s) && !panel.shows(panel.state->statusText()));
        panel.tick(3460);
        QVERIFY(panel.find(u"设提醒"_s) && !isGrey(u"3,460"_s));
        panel.state->coinSymbol = u"BTC"_s;
        drainEvents();
        QVERIFY(panel.shows(u"等待 BTC 报价…"_s) && !panel.shows(u"▲ 2.35%"_s) && panel.shows(u"—"_s));
    }

    void aHiddenPanelRestsAndCatchesUpWhenShown()
    {
        Shown panel;
        panel.state->blingMode = true;
        panel.state->isLoading = true;
        drainEvents();
        const auto *sparkline = panel.view->findChild<PixelSparkline *>();
        const auto *bling = panel.view->findChild<BlingButton *>();
        QVERIFY(sparkline->isPulsing() && bling->isAnimating());
        panel.view->showToast(u"刷新成功"_s, false);
        panel.view->hide();
        QVERIFY(!sparkline->isPulsing() && !bling->isAnimating());
        for (const Spinner *spinner : panel.view->findChildren<Spinner *>())
            QVERIFY(!spinner->isTurning());
        QVERIFY(panel.view->findChild<Toast *>()->message().isEmpty());
        const TextLabel *price = panel.view->findChildren<TextLabel *>()[1];
        panel.tick(3500);
        QCOMPARE(price->text(), u"3,457"_s);
        panel.view->show(); // at once, without waiting for a change
        QCOMPARE(price->text(), u"3,500"_s);
    }

    void rowsAreListedByRangeAndCount()
    {
        Shown panel;
        QCOMPARE(panel.rowPrices(), u"3,744 3,642 3,528 3,418 3,306 3,219"_s);
        QCOMPARE(panel.readerOf(panel.find(above))->text(QAccessible::Description),
                 u"Fib、Pivot、多指标确认、黄金位"_s);
        panel.state->displayRangePct = 6;
        panel.state->maxPerSide = 1;
        drainEvents();
        QCOMPARE(panel.rowPrices(), u"3,528 3,418"_s); // most confirmed within 6 %
        QVERIFY(panel.top(u"阻力"_s) < panel.top(u"现价"_s) && panel.top(u"现价"_s) < panel.top(u"支撑"_s));
    }

    void aTickKeepsRowsFocusAndScrolling()
    {
        Shown panel;
        auto *bar = panel.view->findChild<QScrollArea *>()->verticalScrollBar();
        panel.find(u"支撑 3,306 -4.37%"_s)->setFocus();
        QWidget *row = panel.view->focusWidget();
        bar->setValue(37);
        panel.tick(3460);
        QCOMPARE(panel.nameOf(panel.view->focusWidget()), u"支撑 3,306 -4.46%"_s);
        QVERIFY(panel.view->focusWidget() == row && bar->value() == 37);

        // A level between two others: their rows stay, one row is new.
        std::vector<Zone> zones = panel.state->zones();
        zones.insert(zones.begin() + 5, makeZone(u"support"_s, 3350, -3.2, 9));
        panel.state->zones = zones;
        drainEvents();
        QCOMPARE(panel.rowPrices(), u"3,744 3,642 3,528 3,418 3,350 3,306 3,219"_s);
        QCOMPARE(panel.view->focusWidget(), row);

        panel.key(Qt::Key_Down);
        zones.pop_back(); // a last row that goes hands its focus to the one above it
        panel.state->zones = zones;
        drainEvents();
        QCOMPARE(panel.view->focusWidget(), row);
    }

    void rowsTakeTapsAndTheirBellsDoNot()
    {
        const decltype(Zone::sources) sources{u"vol"_s, u"fib"_s, u"pivot"_s, u"swing"_s};
        ZoneRow row(makeZone(u"support"_s, 1234567.89, -123.45, 9, sources, true), 2);
        row.resize(304, row.heightForWidth(304));
        row.show();
        QSignalSpy taps(&row, &ZoneRow::tapped);
        QSignalSpy bells(&row, &ZoneRow::bellPressed);
        QTest::mouseClick(&row, Qt::LeftButton, {}, {40, 10});
        QTest::mouseClick(&row, Qt::LeftButton, {}, {10, row.height() - 8}); // its tags are part of it
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Enter})
            QTest::keyClick(&row, key);
        QCOMPARE(taps.count(), 5);
        QTest::mouseClick(&row, Qt::RightButton, {}, {40, 10});
        QTest::keyClick(&row, Qt::Key_A);
        QTest::mousePress(&row, Qt::LeftButton, {}, {40, 10});
        QTest::mouseRelease(&row, Qt::LeftButton, {}, {40, 400}); // a change of mind
        QTest::mouseClick(row.bell(), Qt::LeftButton);
        QTest::keyClick(row.bell(), Qt::Key_Return);
        QVERIFY(taps.count() == 5 && bells.count() == 2);

        // The long price ends before the bell, tags before the distance.
        const QImage image = row.grab().toImage();
        for (int y = 4; y < 20; ++y)
            QCOMPARE(image.pixel(row.bell()->x() - 1, y), image.pixel(row.bell()->x() - 4, 8));
        for (const QWidget *tag : row.findChildren<QWidget *>()) {
            const QRect place(tag->mapTo(&row, QPoint()), tag->size());
            QVERIFY(!tag->inherits("kestrune::Tag") || row.rect().adjusted(0, 0, -50, 0).contains(place));
        }
    }

    void theBannerFollowsTheSelection()
    {
        Shown panel;
        const QString title = u"阻力 3,528 · 做空"_s;
        const QString back = u"恢复现价开单助手"_s;
        const auto plan = panel.state->tradePlan();
        const auto showsPrices = [&](const TradePlan &of) {
            return std::ranges::all_of(planRows(of), [&](const PlanRow &row) {
                return panel.shows(row.label) && panel.shows(row.number) &&
                       (row.rest.isEmpty() || panel.shows(row.rest));
            });
        };
        QVERIFY(panel.shows(plan->headline) && showsPrices(*plan) && panel.shows(rawValue(plan->dir)));
        QVERIFY(panel.shows(u"已扣 0.15% 手续费成本"_s) && !panel.find(back));
        panel.press(u"设提醒"_s);
        const auto alerts = panel.state->currentAlerts();
        QVERIFY(alerts.size() == 2 && alerts[0].targetPrice == *plan->tp &&
                alerts[1].targetPrice == plan->sl);

        const std::vector<Zone> zones = panel.state->zones();
        panel.press(below);
        panel.press(above); // a resistance: short from there
        QCOMPARE(panel.state->selectedZonePrice(), std::optional(zones[2].mid));
        QVERIFY(panel.isChecked(above) && !panel.isChecked(below) && panel.shows(title));
        QVERIFY(showsPrices(*panel.state->planForEntry(zones[2].mid, TradeDirection::short_)));
        panel.press(above); // once more lets go
        QVERIFY(!panel.state->selectedZonePrice() && !panel.state->selectedZoneType());
        panel.press(above);
        panel.press(back);
        QVERIFY(!panel.shows(title) && !panel.state->selectedZonePrice());

        panel.pick(zones[4].mid, u"resistance"_s); // the same price on the other side is another zone
        QVERIFY(!panel.isChecked(below));
        panel.state->zones = std::vector{makeZone(u"resistance"_s, 3744, 8, 1)}; // no plan without a support
        drainEvents();
        QVERIFY(panel.shows(u"下方没有支撑位可作止盈，没有开单计划"_s) && panel.find(back));
        QVERIFY(!panel.find(u"设提醒"_s) && !panel.shows(u"进"_s));
        panel.state->market = MarketSegment::cn;
        drainEvents();
        QVERIFY(panel.shows(u"股票不能做空，阻力位没有开单计划"_s));
        panel.pick({}, {});
        QVERIFY(panel.shows(u"下方没有支撑位，股票不能做空，没有开单计划"_s) && !panel.find(back));
        panel.state->market = MarketSegment::crypto;
        panel.state->zones = zones;
        panel.state->accountSize = 10000;
        panel.state->leverage = 100;
        panel.pick({}, {});
        QCOMPARE(panel.tone(u"杠杆偏高（强平距离 < 止损距离）"_s), Tone::orange);
    }

    void bellsAndAlertRowsWorkTogether()
    {
        const QString label = u"阻力 3,528"_s;
        const QString cancel = u"取消该价位提醒"_s;
        Shown panel;
        AppState &state = *panel.state;
        const auto *toast = panel.view->findChild<Toast *>();
        panel.press(u"设置该价位提醒"_s, 2);
        QVERIFY(!state.selectedZonePrice()); // the bell is not the row
        QCOMPARE(static_cast<IconButton *>(panel.find(cancel))->iconName(), u"bell.fill"_s);
        QVERIFY(panel.shows(label) && !panel.find(u"收到"_s) && !panel.find(u"再设"_s));
        panel.tick(3600);
        state.evaluateAlerts();
        drainEvents();
        const QWidget *fired = panel.find(label);
        panel.press(u"收到"_s, 1); // the first is the one above the chips
        QVERIFY(!panel.find(u"收到"_s) && !state.currentAlerts()[0].triggered);
        QCOMPARE(panel.find(label), fired); // the row stayed
        panel.press(u"再设"_s);             // the price is past it
        QVERIFY(!state.currentAlerts()[0].above && !panel.find(u"再设"_s));
        QVERIFY(toast->message().startsWith(u"已再设：跌到 3,528"_s));

        const auto before = state.alerts();
        panel.find(u"删除该提醒"_s)->setFocus();
        QCOMPARE(panel.key(Qt::Key_Space), target); // the focus is not lost with the row
        QVERIFY(!panel.shows(label) && !panel.find(cancel));
        QVERIFY(waitFor([&] { return panel.find(u"撤销"_s); }));
        panel.press(u"撤销"_s);
        QVERIFY(state.alerts() == before && panel.shows(label));
    }

    void zonesAreFollowedFromTheirMenu()
    {
        Shown panel;
        QWidget *row = panel.find(below);
        QWidget *bell = panel.find(u"设置该价位提醒"_s, 3);
        const auto choose = [&](const QString &text) {
            auto *menu = panel.view->findChild<QMenu *>();
            QAction *chosen = nullptr;
            for (QAction *action : menu->actions())
                chosen = action->text() == text ? action : chosen;
            QVERIFY2(chosen, qPrintable(text));
            chosen->trigger();
            delete menu;
            drainEvents();
        };
        QTest::keyClick(row, Qt::Key_F10, Qt::ShiftModifier);
        choose(u"跟随这个区域"_s);
        QCOMPARE(static_cast<IconButton *>(bell)->iconName(), u"bell.follow.fill"_s);
        QVERIFY(panel.readerOf(row)->text(QAccessible::Description).endsWith(u"、跟随中"_s));
        QVERIFY(panel.shows(u"跟随 支撑1 · 3,418"_s));
        QContextMenuEvent byHand(QContextMenuEvent::Mouse, {}, {});
        QCoreApplication::sendEvent(bell, &byHand);
        choose(u"设置该价位提醒"_s); // one beside it
        QCOMPARE(panel.state->alerts().size(), 2);
        QTest::mousePress(bell, Qt::LeftButton);
        QVERIFY(waitFor([&] { return panel.view->findChild<QMenu *>(); }));
        QTest::mouseRelease(bell, Qt::LeftButton);
        QCOMPARE(panel.state->alerts().size(), 2); // holding is no click
        choose(u"跟随这个区域"_s);
        QVERIFY(panel.state->alerts().size() == 1 && !panel.shows(u"跟随 支撑1 · 3,418"_s));
    }

    void typedAlerts()
    {
        const QString add = u"添加目标价提醒：价格涨/跌触及即触发"_s;
        const QString far = u"目标价离现价 -99.80%，再按一次回车确认"_s;
        Shown panel;
        const auto *toast = panel.view->findChild<Toast *>();
        for (const QString &text : {u""_s, u"0"_s, u"-5"_s, u"inf"_s, u"1,95"_s, u"8"_s, u"7"_s}) {
            QCOMPARE(panel.enter(target, text), text); // stays to be mended
            QVERIFY(panel.state->currentAlerts().empty() && !toast->message().isEmpty() && toast->isError());
        }
        QCOMPARE(toast->message(), far);
        panel.press(add);                              // the same text again
        QCOMPARE(panel.enter(target, u"7"_s), u"7"_s); // another alert, another question
        QCOMPARE(panel.enter(target, u" 1，950.5"_s), u""_s);
        const auto alerts = panel.state->currentAlerts();
        QVERIFY(alerts.size() == 2 && alerts[0].targetPrice == 7 && alerts[1].targetPrice == 1950.5);
        QVERIFY(!alerts[1].above && panel.shows(u"手动 1,950"_s) && panel.shows(u"手动 7"_s));
    }

    void whatRangStandsAboveTheChips()
    {
        Shown panel;
        AppState &state = *panel.state;
        std::vector<PriceAlert> alerts;
        for (const char *id : {"0", "1", "2", "3"}) {
            alerts.push_back({.id = QString::fromLatin1(id),
                              .targetPrice = 67000,
                              .above = true,
                              .symbol = u"BTC"_s,
                              .label = u"手动 67,000"_s,
                              .triggered = true,
                              .lastFiredAt = epochSeconds(panel.clock.now()) - 60.0 * double(alerts.size())});
        }
        alerts[0].firedPrice = 67001;
        const auto *area = panel.view->findChild<QScrollArea *>();
        const int areaTop = area->y();
        state.alerts = alerts;
        drainEvents();
        const QString newest = u"BTC 手动 67,000，触及 67,001，08:30"_s;
        const QString second = u"BTC 手动 67,000，08:29"_s;
        QVERIFY(panel.find(newest) && panel.top(newest) < panel.top(second) && panel.find(u"还有 1 条"_s));
        QVERIFY(panel.top(second) < panel.top(u"ETH"_s) && panel.find(u"收到"_s, 2) &&
                !panel.find(u"收到"_s, 3));
        QVERIFY(panel.view->size() == PopoverView::panelSize && area->y() > areaTop);

        // Under the pointer nothing slides.
        QWidget *box = panel.find(newest)->parentWidget();
        QCursor::setPos(box->mapToGlobal(box->rect().center()));
        const int top = panel.top(second);
        panel.press(u"收到"_s);
        QVERIFY(!state.alerts()[0].triggered && panel.find(newest + u"，已停止"_s));
        QCOMPARE(panel.top(second), top);
        QCursor::setPos(area->mapToGlobal(area->rect().center()));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(box, &leave);
        drainEvents();
        QVERIFY(panel.top(second) < top && !panel.find(u"还有 1 条"_s));

        area->verticalScrollBar()->setValue(50);
        const int chips = panel.top(u"ETH"_s);
        alerts[0].triggered = alerts[1].triggered = false;
        state.alerts = alerts;
        drainEvents();
        QCOMPARE(panel.top(u"ETH"_s), chips); // what the pointer is on stays, too
        QCursor::setPos(0, 0);

        panel.pick(3418, u"support"_s);
        panel.press(u"BTC 手动 67,000，08:28"_s);
        QVERIFY(state.coinSymbol() == u"BTC"_s && !state.selectedZonePrice());
        panel.view->hide();
        state.alerts = std::vector<PriceAlert>{}; // settled elsewhere
        panel.view->show();
        QCOMPARE(area->y(), areaTop);
    }

    void anAlertIsShownOnRequest()
    {
        Shown panel;
        AppState &state = *panel.state;
        state.addAlert(3400, {}, true); // rings at once
        state.addAlert(3300);
        const auto ask = [&](std::size_t index) {
            panel.view->setMaximumPanelHeight(300);
            state.alertToShow = state.alerts()[index].id;
            drainEvents();
            return panel.readerOf(panel.view->focusWidget())->text(QAccessible::Description);
        };
        QCOMPARE(ask(0), u"手动 3,400"_s);
        QCOMPARE(panel.nameOf(panel.view->focusWidget()), u"收到"_s);
        QVERIFY(!panel.view->focusWidget()->visibleRegion().isEmpty() && !state.alertToShow());
        panel.view->hide();
        ask(1);
        QVERIFY(state.alertToShow()); // waits for the panel
        panel.view->show();
        QVERIFY(!state.alertToShow() && !panel.find(u"手动 3,300"_s)->visibleRegion().isEmpty());
    }

    void theLogUnfolds()
    {
        const QString title = u"提醒记录"_s;
        Shown panel;
        panel.press(title);
        QVERIFY(waitFor([&] { return panel.shows(u"还没有提醒触发过"_s); }));
        for (int i = 0; i < 4; ++i)
            panel.state->addAlert(3400 + i, {}, true); // ring at once
        drainEvents();
        QVERIFY(panel.shows(u"08:30，ETH 手动 3,403，上涨触及 3,456.78，未收到"_s));
        panel.press(u"收到"_s);
        QVERIFY(panel.shows(u"08:30，ETH 手动 3,400，上涨触及 3,456.78，已收到 08:30"_s));
        panel.press(title);
        QVERIFY(waitFor([&] { return !panel.texts().join(u' ').contains(u"上涨触及"_s); }));
        panel.state->addAlert(3410, {}, true);
        drainEvents();
        panel.press(u"还有 1 条"_s);
        QVERIFY(waitFor([&] { return panel.texts().join(u' ').contains(u"手动 3,410，上涨触及"_s); }));
    }

    void anInstrumentIsPickedWithoutItsOldSelection()
    {
        const QStringList cleared{u"selectedZonePrice"_s, u"selectedZoneType"_s};
        const struct
        {
            QString pressed, field, title;
        } rows[] = {
            {u"BTC"_s, u"coinSymbol"_s, u"BTC/USDT · 永续"_s},
            {u"1H"_s, u"timeframe"_s, u"BTC/USDT · 永续"_s}, // other candles, other zones
            {u"A股"_s, u"market"_s, u"600519 · A股"_s},
        };
        Shown panel(true);
        for (const auto &row : rows) {
            panel.pick(3418, u"support"_s);
            panel.announcements.clear();
            QVERIFY(!panel.isChecked(row.pressed));
            panel.press(row.pressed);
            QCOMPARE(panel.announcements.mid(0, 3), cleared + QStringList{row.field});
            QVERIFY(!panel.state->selectedZonePrice() && !panel.state->selectedZoneType());
            QVERIFY(panel.isChecked(row.pressed) && panel.texts().value(0) == row.title);
        }
        QVERIFY(panel.find(u"周线"_s) && !panel.isChecked(u"加密"_s));
        panel.press(u"加密"_s);
        QCOMPARE(panel.field(leverage)->text(), u"1"_s); // the stock's; switching back restores nothing
    }

    void theBlockKeepsItsHeightWhileItLoads()
    {
        Shown panel;
        const int before = panel.top(target);
        const auto zones = panel.state->zones();
        const auto topWith = [&](bool loading, const std::vector<Zone> &shown) {
            panel.state->isLoading = loading;
            panel.state->zones = shown;
            drainEvents();
            return panel.top(target);
        };
        QCOMPARE(topWith(true, zones), before); // a refresh with rows to look at
        QCOMPARE(topWith(true, {}), before);    // a new instrument
        QCOMPARE(topWith(false, zones), before);
        QCOMPARE(topWith(true, {}), before);
        QVERIFY(topWith(false, {}) < before); // the load failed: nothing to wait for any more
    }

    void buttonsReachTheirAims()
    {
        Shown panel;
        QList<QUrl> opened;
        panel.onOpened = [&](const QUrl &url) { opened.append(url); };
        panel.press(u"在 TradingView 打开 BINANCE:ETHUSDT.P"_s);
        panel.press(u"打开网页版"_s);
        QVERIFY(opened.value(0) == *panel.state->tradingViewURL() && opened.value(1).scheme() == u"https");
        panel.press(u"赚翻了：状态栏多标的霓虹灯效"_s);
        QVERIFY(panel.state->blingMode() && panel.find(u"停止炫彩"_s));

        const QString refresh = u"刷新数据"_s;
        const auto *toast = panel.view->findChild<Toast *>();
        panel.press(refresh);
        QVERIFY(toast->message() == u"撑压数据获取失败"_s && toast->isError());
        panel.serveCrypto(3000);
        panel.press(refresh);
        QVERIFY(toast->message() == u"刷新成功"_s && !toast->isError());
        QVERIFY(panel.view->rect().contains(toast->geometry())); // above the footer's actions
        QVERIFY(toast->geometry().bottom() - 22 <= panel.find(refresh)->parentWidget()->y());
        panel.clearLogs();
        for (int i = 0; i < 2; ++i) // the second joins the first
            PanelFixture::readerOf(panel.find(refresh))
                ->actionInterface()
                ->doAction(QAccessibleActionInterface::pressAction());
        drainEvents();
        QCOMPARE(panel.lines().filter(u"tickers"_s).size(), 1);

        panel.state->unreadSettings = UnreadFile{u"/x/preferences.json.broken-1"_s, true};
        drainEvents();
        QVERIFY(panel.shows(u"设置文件无法读取，已另存为 preferences.json.broken-1；提醒与设置从头开始。"_s));
        panel.press(u"知道了"_s);
        QVERIFY(!panel.state->unreadSettings() && !panel.find(u"知道了"_s));
        panel.press(refresh);
        panel.view.reset(); // the answer of a refresh that outlives its panel goes nowhere
        drainEvents();
    }

    void fieldsTakeWhatIsTypedAndSpellItBack()
    {
        const struct
        {
            const char *name;
            const QString &field;
            QString typed, shown;
            double stored;
            QString down = {}, up = {}; // what the steppers make of it
        } rows[] = {
            {"above the limit", threshold, u"25"_s, u"20.0"_s, 20, u"19.5"_s, u"20.0"_s},
            {"the lowest", range, u"2"_s, u"2"_s, 2, u"2"_s, u"3"_s},
            {"a whole number", perSide, u"10"_s, u"10"_s, 10, u"9"_s, u"10"_s},
            {"an amount as it is typed", account, u"12,000"_s, u"12,000"_s, 12000},
            {"without limit", risk, u"150"_s, u"150"_s, 150},
            {"refused", leverage, u"0.5"_s, u"10"_s, 10},
        };
        Shown panel(true);
        AppState &state = *panel.state;
        forEachRow(rows, [&](const auto &row) {
            state.leverage = 10;
            QCOMPARE(panel.enter(row.field, row.typed), row.shown);
            const std::map<QString, double> stored{
                {threshold, state.signalThreshold()}, {range, state.displayRangePct()},
                {perSide, state.maxPerSide()},        {account, state.accountSize()},
                {risk, state.riskPctPerTrade()},      {leverage, state.leverage()}};
            QCOMPARE(stored.at(row.field), row.stored);
            if (row.down.isEmpty())
                return;
            panel.press(row.field + u" 减小"_s);
            QCOMPARE(panel.field(row.field)->text(), row.down);
            panel.enter(row.field, row.typed);
            panel.field(row.field)->setText(u"half typed"_s);
            panel.press(row.field + u" 增大"_s); // counts from what is set
            QCOMPARE(panel.field(row.field)->text(), row.up);
        });
        const QString stocks = u"行情代理（股票）"_s;
        const QString proxy = u"socks5://127.0.0.1:1080"_s;
        QCOMPARE(panel.enter(stocks, u' ' + proxy), proxy);
        QCOMPARE(panel.enter(stocks, u"127.0.0.1"_s), proxy); // without a port
        QCOMPARE(panel.view->findChild<Toast *>()->message(), u"代理格式不对，仍用原设置"_s);
        QCOMPARE(panel.enter(u"行情代理（加密）"_s, u"直连"_s), u"直连"_s);
        QCOMPARE(state.proxyCrypto() + state.proxyStock(), u"直连"_s + proxy);
    }

    void fieldsApplyWhenTheFocusLeaves()
    {
        Shown panel(true);
        panel.view->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(panel.view.get()));
        const auto type = [&](const QString &field, const QString &text) {
            panel.field(field)->setFocus();
            panel.field(field)->selectAll();
            QTest::keyClicks(panel.field(field), text);
        };
        const auto *toast = panel.view->findChild<Toast *>();
        type(threshold, u"4"_s);
        type(leverage, u"200"_s);
        QVERIFY(panel.state->signalThreshold() == 4 && toast->message().isEmpty());
        type(threshold, u"99"_s);
        QVERIFY(panel.state->leverage() == 125 && panel.field(leverage)->text() == u"125"_s);
        QCOMPARE(toast->message(), u"最大 125x，已改为 125"_s);
        panel.field(risk)->setFocus();
        QCOMPARE(toast->message(), u"最大 20%，已改为 20.0"_s);
        type(target, u"5"_s); // an alert is added on purpose only
        type(risk, u"9"_s);
        QVERIFY(panel.state->currentAlerts().empty());
        panel.key(Qt::Key_Escape); // gives up, with the panel
        QVERIFY(panel.state->riskPctPerTrade() != 9 && !panel.view->isVisible());
    }

    void fieldsAreFilledWhenTheyAppear()
    {
        Shown panel(true);
        QCOMPARE(panel.field(account)->placeholderText(), u"未设置"_s);
        panel.field(risk)->setText(u"half typed"_s);
        panel.tick(3500);
        QCOMPARE(panel.field(risk)->text(), u"half typed"_s); // a tick takes nothing away
        panel.state->accountSize = 5000;
        panel.view->hide();
        panel.view->show();
        QCOMPARE(panel.field(risk)->text() + u' ' + panel.field(account)->text(), u"1.0 5000"_s);
        QCOMPARE(panel.find(u"设置"_s)->toolTip(), u"收起设置"_s);
        panel.press(u"设置"_s);
        QVERIFY(waitFor([&] { return !panel.field(account); }));
        panel.state->accountSize = 0;
        panel.press(u"设置"_s);
        QCOMPARE(panel.field(account)->text(), u""_s);
        panel.press(u"极简模式（状态栏只显示价格数字）"_s);
        QVERIFY(panel.state->miniMode());
    }

    void stocksHaveNoLeverageAndNoMargin()
    {
        Shown panel(true);
        panel.press(u"全仓"_s);
        QCOMPARE(panel.state->marginMode(), MarginMode::cross);
        QVERIFY(panel.isChecked(u"全仓"_s) && !panel.isChecked(u"逐仓"_s) && panel.field(leverage));
        panel.state->market = MarketSegment::hk;
        drainEvents();
        QVERIFY(!panel.field(leverage) && !panel.find(u"全仓"_s));
        for (const QString &text : {u"股票市场不能做空，固定 1x（现货）"_s, u"股票现货无保证金模式"_s}) {
            const QWidget *note = panel.find(text);
            QVERIFY(note && note->geometry().center().y() == note->parentWidget()->rect().center().y());
        }
        QVERIFY(panel.shows(u"股票市场固定 1x（现货）。填了账户额，开单助手按止损距离算出建议仓位。"_s));
    }

    void theMarketContextUnfoldsAndRemembers()
    {
        Shown panel;
        QVERIFY(!panel.shows(u"RSI(14)"_s));
        panel.press(u"市场背景"_s);
        QVERIFY(waitFor([&] { return panel.shows(u"VWAP"_s); }));
        for (const QString &text : {u"趋势"_s, u"61.2 中性"_s, u"多头（柱为正）"_s, u"ATR(14) 止损参考"_s,
                                    panel.state->atrText(), u"3,429"_s})
            QVERIFY2(panel.shows(text), qPrintable(text));
        panel.state->ctxVWAP = std::nullopt;
        drainEvents();
        QVERIFY(!panel.shows(u"VWAP"_s));
    }
};

KESTRUNE_TEST(PanelTest)
#include "tst_panel.moc"
