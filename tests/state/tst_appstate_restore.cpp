// SPDX-License-Identifier: MIT
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QByteArray storedAlerts =
    R"([{"id":"A1","targetPrice":105,"above":true,"symbol":"ETH","label":"l","triggered":true,"lastFiredAt":5}])";

} // namespace

class AppStateRestoreTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aFreshInstallationStartsWithTheDefaults();
    void everythingStoredComesBackInItsOrder();
    void unusableEntriesAreIgnoredOneByOne_data();
    void unusableEntriesAreIgnoredOneByOne();
    void theTimeframeMustBelongToTheSegment_data();
    void theTimeframeMustBelongToTheSegment();
    void unreadableAlertsStayStoredUntilTheNextChange();
    void settingsStoreThemselves();
    void theHintComesOnceAndWeakly();
    void blingModeAtStartUpDoublesItsActions();
};

void AppStateRestoreTest::aFreshInstallationStartsWithTheDefaults()
{
    AppFixture app(AppFixture::Launch::first);
    app.serveCrypto(3000);
    const AppState &state = app.create();
    QCOMPARE(state.coinSymbol(), u"ETH"_s);
    QCOMPARE(state.market(), MarketSegment::crypto);
    QCOMPARE(state.timeframe(), u"日线"_s);
    QCOMPARE(state.signalThreshold(), 2.5);
    QCOMPARE(state.displayRangePct(), 12.0);
    QCOMPARE(state.maxPerSide(), 5);
    QCOMPARE(state.accountSize(), 0.0);
    QCOMPARE(state.riskPctPerTrade(), 1.0);
    QCOMPARE(state.leverage(), 10.0);
    QCOMPARE(state.marginMode(), MarginMode::isolated);
    QCOMPARE(state.snapshotConclusion(), u"加载中…"_s);
    QVERIFY(state.alerts().empty() && !state.blingMode() && !state.miniMode() && !state.price());
    const QStringList writes{u"ks_mini=false"_s, u"ks_tf=日线"_s, u"ks_ctx_expanded=false"_s,
                             u"ks_has_launched_v2=true"_s};
    QCOMPARE(app.preferences.writes(), writes);
    QVERIFY(app.lines().isEmpty()); // the first refresh begins on a later turn
    QCOMPARE(state.tick(), 0.0);
    QCOMPARE(state.tradeCostPct(), 0.15);
}

void AppStateRestoreTest::everythingStoredComesBackInItsOrder()
{
    AppFixture app;
    MemoryPreferences &stored = app.preferences;
    stored.preset(u"ks_coin"_s, u"hk00700"_s);
    stored.preset(u"ks_mini"_s, true);
    stored.preset(u"ks_market"_s, u"港股"_s);
    stored.preset(u"ks_tf"_s, u"周线"_s);
    stored.preset(u"ks_signal_threshold"_s, 1.5);
    stored.preset(u"ks_disp_range"_s, 8);
    stored.preset(u"ks_disp_maxside"_s, 4); // an earlier default, read as today's
    stored.preset(u"ks_account_size"_s, 1000.5);
    stored.preset(u"ks_risk_pct"_s, 2);
    stored.preset(u"ks_leverage"_s, 0.5);
    stored.preset(u"ks_margin_mode"_s, u"全仓"_s);
    stored.preset(u"ks_ctx_expanded"_s, true);
    stored.preset(u"ks_alerts"_s, storedAlerts);
    const AppState &state = app.create();
    const QStringList writes{u"ks_mini=true"_s,
                             u"ks_market=港股"_s,
                             u"ks_tf=周线"_s,
                             u"ks_signal_threshold=1.5"_s,
                             u"ks_disp_range=8"_s,
                             u"ks_disp_maxside=5"_s,
                             u"ks_account_size=1000.5"_s,
                             u"ks_risk_pct=2"_s,
                             u"ks_leverage=0.5"_s,
                             u"ks_margin_mode=全仓"_s,
                             u"ks_ctx_expanded=true"_s};
    QCOMPARE(stored.writes(), writes);
    QCOMPARE(state.coinSymbol(), u"hk00700"_s);
    QCOMPARE(state.maxPerSide(), 5);
    QCOMPARE(state.marginMode(), MarginMode::cross);
    const PriceAlert alert{u"A1"_s, 105, true, u"ETH"_s, u"l"_s, true, 5.0};
    QCOMPARE(state.alerts(), std::vector{alert});
    QCOMPARE(state.displayName(), u"00700"_s);
    QCOMPARE(state.menuTitle(), u"…"_s);
    QCOMPARE(state.tick(), 0.01);
    QCOMPARE(state.tradeCostPct(), 0.3);
    QCOMPARE(state.symbolList(), state.hkList);
}

void AppStateRestoreTest::unusableEntriesAreIgnoredOneByOne_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("entry");
    QTest::newRow("a number for the coin") << u"ks_coin"_s << QVariant(5);
    QTest::newRow("a text for the mini mode") << u"ks_mini"_s << QVariant(u"true"_s);
    QTest::newRow("an unknown segment") << u"ks_market"_s << QVariant(u"HK"_s);
    QTest::newRow("a bool for the segment") << u"ks_market"_s << QVariant(true);
    QTest::newRow("a text for the threshold") << u"ks_signal_threshold"_s << QVariant(u"2"_s);
    QTest::newRow("a bool for the range") << u"ks_disp_range"_s << QVariant(true);
    QTest::newRow("a fraction of zones per side") << u"ks_disp_maxside"_s << QVariant(6.5);
    QTest::newRow("a text for the account") << u"ks_account_size"_s << QVariant(u"100"_s);
    QTest::newRow("a leverage of nothing") << u"ks_leverage"_s << QVariant(0);
    QTest::newRow("a negative leverage") << u"ks_leverage"_s << QVariant(-3.5);
    QTest::newRow("an unknown margin mode") << u"ks_margin_mode"_s << QVariant(u"cross"_s);
    QTest::newRow("a number for the bling mode") << u"ks_bling"_s << QVariant(1);
    QTest::newRow("a text for the alerts") << u"ks_alerts"_s << QVariant(QString::fromUtf8(storedAlerts));
}

void AppStateRestoreTest::unusableEntriesAreIgnoredOneByOne()
{
    QFETCH(QString, key);
    QFETCH(QVariant, entry);
    AppFixture app;
    switch (entry.typeId()) {
    case QMetaType::Bool:
        app.preferences.preset(key, entry.toBool());
        break;
    case QMetaType::Int:
        app.preferences.preset(key, entry.toInt());
        break;
    case QMetaType::Double:
        app.preferences.preset(key, entry.toDouble());
        break;
    default:
        app.preferences.preset(key, entry.toString());
    }
    app.preferences.preset(u"ks_risk_pct"_s, 3); // a good neighbour is not lost
    const AppState &state = app.create();
    const QStringList writes{u"ks_mini=false"_s, u"ks_tf=日线"_s, u"ks_risk_pct=3"_s,
                             u"ks_ctx_expanded=false"_s};
    QCOMPARE(app.preferences.writes(), writes);
    QCOMPARE(state.coinSymbol(), u"ETH"_s);
    QCOMPARE(state.market(), MarketSegment::crypto);
    QCOMPARE(state.signalThreshold(), 2.5);
    QCOMPARE(state.displayRangePct(), 12.0);
    QCOMPARE(state.maxPerSide(), 5);
    QCOMPARE(state.leverage(), 10.0);
    QVERIFY(state.alerts().empty() && !state.blingMode());
}

void AppStateRestoreTest::theTimeframeMustBelongToTheSegment_data()
{
    QTest::addColumn<QString>("segment");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("restored");
    QTest::newRow("hours are not for stocks") << u"港股"_s << u"4H"_s << u"日线"_s;
    QTest::newRow("months are for stocks") << u"A股"_s << u"月线"_s << u"月线"_s;
    QTest::newRow("weeks are not for crypto") << u"加密"_s << u"周线"_s << u"1H"_s;
    QTest::newRow("nonsense") << u"加密"_s << u"4h"_s << u"1H"_s;
}

void AppStateRestoreTest::theTimeframeMustBelongToTheSegment()
{
    QFETCH(QString, segment);
    QFETCH(QString, stored);
    QFETCH(QString, restored);
    AppFixture app;
    app.preferences.preset(u"ks_market"_s, segment);
    app.preferences.preset(u"ks_tf"_s, stored);
    QCOMPARE(app.create().timeframe(), restored);
    QVERIFY(app.preferences.writes().contains(u"ks_tf="_s + restored));
}

void AppStateRestoreTest::unreadableAlertsStayStoredUntilTheNextChange()
{
    AppFixture app;
    app.serveCrypto(3000);
    const QByteArray broken = QByteArray(storedAlerts).replace("\"triggered\":true,", "");
    app.preferences.preset(u"ks_alerts"_s, broken);
    AppState &state = app.start();
    QVERIFY(state.alerts().empty());
    QCOMPARE(app.preferences.data(u"ks_alerts"_s), broken);
    state.removeAlert(u"unknown"_s); // changes nothing but saves
    QCOMPARE(app.preferences.data(u"ks_alerts"_s), QByteArray("[]"));
}

void AppStateRestoreTest::settingsStoreThemselves()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.signalThreshold = -1; // neither clamped nor checked
    state.displayRangePct = 20;
    state.maxPerSide = 4;
    state.accountSize = 5000;
    state.riskPctPerTrade = 0.5;
    state.leverage = 0;
    state.marginMode = MarginMode::cross;
    state.marketContextExpanded = true;
    state.miniMode = true;
    state.miniMode = true;
    state.selectedZonePrice = 5.0;
    state.coinSymbol = u"BTC"_s; // stored by the selection only
    const QStringList writes{u"ks_signal_threshold=-1"_s, u"ks_disp_range=20"_s,
                             u"ks_disp_maxside=4"_s,      u"ks_account_size=5000"_s,
                             u"ks_risk_pct=0.5"_s,        u"ks_leverage=0"_s,
                             u"ks_margin_mode=全仓"_s,    u"ks_ctx_expanded=true"_s,
                             u"ks_mini=true"_s,           u"ks_mini=true"_s};
    QCOMPARE(app.preferences.writes(), writes);
}

void AppStateRestoreTest::theHintComesOnceAndWeakly()
{
    AppFixture app(AppFixture::Launch::first);
    app.serveCrypto(3000);
    app.create();
    app.clock.advance(799ms);
    QVERIFY(app.attention.dialogs.empty());
    app.clock.advance(1ms);
    QCOMPARE(app.attention.dialogs.size(), std::size_t(1));
    const auto &dialog = app.attention.dialogs.front();
    QCOMPARE(dialog.title, u"Kestrune Bar 已启动"_s);
    QCOMPARE(
        dialog.text,
        u"这是一个菜单栏应用，没有 Dock 图标。\n\n请查看屏幕右上角菜单栏，点击价格数字即可展开撑压面板。\n\n"
        u"如果状态栏图标被折叠，可点击菜单栏最左侧的 ⌃ 展开。"_s);
    QCOMPARE(dialog.button, u"知道了"_s);
    app.create(); // the next run knows
    app.clock.advance(2s);
    QCOMPARE(app.attention.dialogs.size(), std::size_t(1));

    AppFixture gone(AppFixture::Launch::first);
    gone.serveCrypto(3000);
    gone.create();
    drainEvents();
    gone.state.reset();
    gone.clock.advance(1s);
    QVERIFY(gone.attention.dialogs.empty());
    QCOMPARE(gone.preferences.boolean(u"ks_has_launched_v2"_s), true);
}

void AppStateRestoreTest::blingModeAtStartUpDoublesItsActions()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.preferences.preset(u"ks_bling"_s, true);
    app.preferences.preset(u"ks_mini"_s, true);
    AppState &state = app.create();
    const QStringList writes{u"ks_mini=true"_s, u"ks_tf=日线"_s, u"ks_ctx_expanded=false"_s,
                             u"ks_bling=true"_s, u"ks_mini=false"_s};
    QCOMPARE(app.preferences.writes(), writes);
    QVERIFY(state.blingMode() && !state.miniMode());
    QCOMPARE(state.multiPrices().size(), std::size_t(8));
    QVERIFY(app.lines().isEmpty());

    drainEvents();
    const QStringList lines = app.crypto.lines();
    QStringList eight;
    for (const QString &coin : state.blingSymbols())
        eight.append(gateTickerLine(coin));
    QCOMPARE(lines.mid(0, 16), eight + eight);
    QCOMPARE(lines.at(16), gateTickerLine(u"ETH"_s)); // the full refresh comes after
    QCOMPARE(lines.filter(u"tickers"_s).size(), 17);
    // One of each loop: price, zones, bling prices, bling pulse.
    QCOMPARE(app.clock.sleeperCount(), 4);
    app.clock.advance(4999ms);
    QCOMPARE(state.blingPulse(), 33);
    app.clearLogs();
    app.clock.advance(1ms);
    QCOMPARE(app.crypto.lines().size(), 9);
    KESTRUNE_VERIFY_APP(app);
}

KESTRUNE_TEST(AppStateRestoreTest)
#include "tst_appstate_restore.moc"
