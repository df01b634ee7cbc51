// SPDX-License-Identifier: MIT
#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QStringList resetAnnouncements{u"sparkline"_s,          u"stockQuote"_s,  u"zones"_s,    u"zonePrice"_s,
                                     u"ctxEMA50"_s,           u"ctxEMA200"_s,   u"ctxVegas"_s, u"ctxRSI"_s,
                                     u"ctxMACDHist"_s,        u"ctxATR"_s,      u"ctxVWAP"_s,  u"snapshot"_s,
                                     u"snapshotConclusion"_s, u"errorMessage"_s};

void expectResetAnalysis(const AppState &state)
{
    QVERIFY(state.lastSRCandles.empty() && state.sparkline().empty() && state.zones().empty());
    QVERIFY(!state.stockQuote() && !state.errorMessage() && state.snapshot().empty());
    QCOMPARE(state.zonePrice(), 0.0);
    QCOMPARE(state.snapshotConclusion(), u"加载中…"_s);
    QVERIFY(!state.ctxEMA50() && !state.ctxEMA200() && !state.ctxVegas() && !state.ctxRSI() &&
            !state.ctxMACDHist() && !state.ctxATR() && !state.ctxVWAP());
}

} // namespace

class AppStateSelectionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void anotherInstrument();
    void theSameInstrumentAgainStartsOver();
    void fromCryptoToShares();
    void fromHongKongToCrypto();
    void choosingTheSameAgainDoesNothing();
    void anotherTimeframeKeepsTheOldZonesUntilTheNewCome();
    void onlyTheLastOfSeveralSelectionsIsAsked();
    void aPickedZoneOutlivesTheSelection();
};

void AppStateSelectionTest::anotherInstrument()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    const auto updated = state.lastUpdated();
    app.clock.setNow(app.clock.now() + 10s);
    state.setCoin(u"SOL"_s);
    QCOMPARE(app.announcements, QStringList{u"coinSymbol"_s} + resetAnnouncements);
    QCOMPARE(app.preferences.writes(), QStringList{u"ks_coin=SOL"_s});
    expectResetAnalysis(state);
    // The old price stays until the new one arrives.
    QCOMPARE(state.price(), 3000.0);
    QCOMPARE(state.changePct(), 1.5);
    QCOMPARE(state.lastUpdated(), updated);
    QVERIFY(!state.dataSource().isEmpty());
    QVERIFY(app.lines().isEmpty());
    app.tickTo(150);
    drainEvents();
    QCOMPARE(app.lines().size(), 11);
    QCOMPARE(app.lines().filter(u"SOL"_s).size(), 11);
    QCOMPARE(state.price(), 150.0);
    QCOMPARE(state.snapshot().size(), std::size_t(3));
}

void AppStateSelectionTest::theSameInstrumentAgainStartsOver()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.setCoin(u"ETH"_s);
    expectResetAnalysis(state);
    drainEvents();
    QCOMPARE(app.lines().size(), 11);
}

void AppStateSelectionTest::fromCryptoToShares()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.serveStock(u"sh600519"_s, 1500);
    AppState &state = app.start();
    state.setMarket(MarketSegment::cn);
    QCOMPARE(app.announcements,
             (QStringList{u"market"_s, u"coinSymbol"_s, u"timeframe"_s, u"leverage"_s} + resetAnnouncements));
    QCOMPARE(app.preferences.writes(), (QStringList{u"ks_market=A股"_s, u"ks_coin=sh600519"_s,
                                                    u"ks_tf=日线"_s, u"ks_tf=日线"_s, u"ks_leverage=1"_s}));
    expectResetAnalysis(state);
    QCOMPARE(state.price(), 3000.0);
    QCOMPARE(state.menuTitle(), u"600519  3,000"_s);
    drainEvents();
    QCOMPARE(app.lines().size(), 5);
    QCOMPARE(app.lines().filter(u"sh600519"_s).size(), 5);
    QCOMPARE(state.price(), 1500.0);
    QCOMPARE(state.snapshotLabels(), (QStringList{u"日线"_s, u"周线"_s, u"月线"_s}));
    KESTRUNE_VERIFY_APP(app);
}

void AppStateSelectionTest::fromHongKongToCrypto()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.serveStock(u"hk00700"_s, 380);
    app.serveStock(u"sh600519"_s, 1500);
    AppState &state = app.start();
    state.setMarket(MarketSegment::hk);
    drainEvents();
    state.leverage = 7;
    app.clearLogs();
    state.setMarket(MarketSegment::cn); // stocks are never leveraged
    QCOMPARE(state.leverage(), 1.0);
    state.leverage = 3;
    app.clearLogs();
    state.setMarket(MarketSegment::crypto);
    QCOMPARE(app.preferences.writes(),
             (QStringList{u"ks_market=加密"_s, u"ks_coin=ETH"_s, u"ks_tf=1H"_s, u"ks_tf=1H"_s}));
    QCOMPARE(state.leverage(), 3.0); // neither restored nor reset
    QCOMPARE(state.timeframe(), u"1H"_s);
    QCOMPARE(state.headerTitle(), u"ETH/USDT · 永续"_s);
    drainEvents();
    QCOMPARE(state.price(), 3000.0);
}

void AppStateSelectionTest::choosingTheSameAgainDoesNothing()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.setMarket(MarketSegment::crypto);
    state.setTimeframe(u"日线"_s);
    drainEvents();
    QVERIFY(app.announcements.isEmpty() && app.preferences.writes().isEmpty() && app.lines().isEmpty());
}

void AppStateSelectionTest::anotherTimeframeKeepsTheOldZonesUntilTheNewCome()
{
    AppFixture app;
    const CandleList days = waveCandles(200, 3000);
    app.serveCrypto(3000, days);
    AppState &state = app.start();
    const CandleList hours = waveCandles(150, 3050);
    const QString line = gateCandleLine(u"ETH"_s, u"4h"_s);
    app.crypto.hold(line);
    state.setTimeframe(u"4H"_s);
    QCOMPARE(app.announcements, QStringList{u"timeframe"_s});
    QCOMPARE(app.preferences.writes(), QStringList{u"ks_tf=4H"_s});
    drainEvents();
    QVERIFY(sameZones(state.zones(), buildZones(days, days.back().c)));
    QVERIFY(state.isLoading());
    app.crypto.release(line, gateCandles(hours));
    QVERIFY(sameZones(state.zones(), buildZones(hours, hours.back().c)));
    QCOMPARE(app.lines(),
             (QStringList{line, binanceCandleLine(u"ETH"_s, u"4h"_s), gateCandleLine(u"ETH"_s, u"1m"_s, 160),
                          binanceCandleLine(u"ETH"_s, u"1m"_s, 160)}));
    QVERIFY(!app.announcements.contains(u"snapshot"_s));
}

void AppStateSelectionTest::onlyTheLastOfSeveralSelectionsIsAsked()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.serveStock(u"hk00005"_s, 60);
    AppState &state = app.create();
    state.setCoin(u"BTC"_s);
    state.setMarket(MarketSegment::hk);
    state.setTimeframe(u"周线"_s);
    state.setCoin(u"hk00005"_s);
    drainEvents();
    // The first refresh, three selections' and the timeframe's all ask for what is selected by then.
    QVERIFY(app.crypto.lines().isEmpty());
    QCOMPARE(app.stock.lines().filter(u"/q="_s).size(), 4);
    QCOMPARE(app.stock.lines().filter(u"hk00005"_s).size(), app.stock.lines().size());
    QCOMPARE(state.price(), 60.0);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateSelectionTest::aPickedZoneOutlivesTheSelection()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.selectedZonePrice = 2900.0;
    state.selectedZoneType = u"support"_s;
    state.setCoin(u"BTC"_s);
    QCOMPARE(state.selectedZonePrice(), 2900.0);
    QCOMPARE(state.selectedZoneType(), u"support"_s);
}

KESTRUNE_TEST(AppStateSelectionTest)
#include "tst_appstate_selection.moc"
