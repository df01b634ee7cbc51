// SPDX-License-Identifier: MIT
#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class AppStateLoopsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theFirstPassComesAfterAPeriod();
    void aPeriodIsSleepPlusWork();
    void aLoopNeverOverlapsItselfButOthersMayOverlapIt();
    void startingAgainReplacesTheLoops();
    void theLoopsEndWithTheState();
    void aRefreshKeepsTheStateUntilItEnds();
    void theProgramMayEndDuringAnyRefresh();
};

void AppStateLoopsTest::theFirstPassComesAfterAPeriod()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.start();
    QCOMPARE(app.clock.sleeperCount(), 2); // without a triggered alert nothing else is waiting
    app.clock.advance(4999ms);
    QVERIFY(app.lines().isEmpty());
    app.clock.advance(1ms);
    QCOMPARE(app.lines(), QStringList{gateTickerLine(u"ETH"_s)});
    app.clock.advance(54999ms);
    QCOMPARE(app.lines().size(), 11);
    QVERIFY(app.lines().filter(u"candlesticks"_s).isEmpty());
    app.clearLogs();
    app.clock.advance(1ms);
    // At 60 s the twelfth price, the zones with their sparkline, and the three timeframes.
    QCOMPARE(app.lines().filter(u"tickers"_s).size(), 1);
    QCOMPARE(app.lines().filter(u"candlesticks"_s).size(), 5);
    QCOMPARE(app.lines().filter(u"interval=1m"_s).size(), 2);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateLoopsTest::aPeriodIsSleepPlusWork()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.start();
    const QString line = gateTickerLine(u"ETH"_s);
    app.crypto.hold(line);
    app.clock.advance(5s);
    app.clock.advance(3s); // the answer takes 3 s
    app.crypto.release(line, gateTicker(3001));
    QCOMPARE(app.lines().size(), 1);
    app.clock.advance(4999ms);
    QCOMPARE(app.lines().size(), 1);
    app.clock.advance(1ms);
    QCOMPARE(app.lines().size(), 2);
}

void AppStateLoopsTest::aLoopNeverOverlapsItselfButOthersMayOverlapIt()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    const QString line = gateTickerLine(u"ETH"_s);
    app.crypto.hold(line);
    app.clock.advance(30s);
    QCOMPARE(app.lines(), QStringList{line}); // six periods, one request
    app.tickTo(3002);
    begin(state.refreshPrice());
    drainEvents();
    QCOMPARE(app.lines().size(), 2);
    QCOMPARE(state.price(), 3002.0);
    app.crypto.release(line, gateTicker(3001)); // arrives last, counts
    QCOMPARE(state.price(), 3001.0);

    const QString candles = gateCandleLine(u"ETH"_s, u"1h"_s); // of the snapshot only
    app.crypto.hold(candles);
    app.clock.advance(30s);
    app.clearLogs();
    app.clock.advance(120s);
    QCOMPARE(app.lines().filter(u"candlesticks"_s).size(), 0);
    app.crypto.release(candles, gateCandles(waveCandles(200, 3000)));
    app.clock.advance(60s);
    QCOMPARE(app.lines().filter(u"candlesticks"_s).size(), 5);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateLoopsTest::startingAgainReplacesTheLoops()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    app.clock.advance(2s);
    state.startTimers();
    QVERIFY(app.lines().isEmpty()); // cancelling never runs anything inside the call
    drainEvents();
    // The replaced loops run their body once more and end.
    QCOMPARE(app.lines().filter(u"tickers"_s).size(), 1);
    QCOMPARE(app.lines().filter(u"candlesticks"_s).size(), 5);
    QCOMPARE(app.clock.sleeperCount(), 2);
    app.clearLogs();
    app.clock.advance(4999ms); // the old rhythm would have come at 3 s
    QVERIFY(app.lines().isEmpty());
    app.clock.advance(1ms);
    QCOMPARE(app.lines().size(), 1);
    state.startTimers();
    state.startTimers(); // the middle loops never got to run
    drainEvents();
    QCOMPARE(app.lines().filter(u"tickers"_s).size(), 2);
    QCOMPARE(app.clock.sleeperCount(), 2);
}

void AppStateLoopsTest::theLoopsEndWithTheState()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.preferences.preset(u"ks_bling"_s, true);
    AppState &state = app.start();
    state.addAlert(3000);
    drainEvents();
    QCOMPARE(app.clock.sleeperCount(), 5);
    app.state.reset();
    drainEvents();
    app.clock.advance(0ms);
    QCOMPARE(app.clock.sleeperCount(), 0); // nothing lies in wait for another minute
    app.clock.advance(10min);
    QVERIFY(app.lines().isEmpty());
}

void AppStateLoopsTest::aRefreshKeepsTheStateUntilItEnds()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    const QString line = gateCandleLine(u"ETH"_s, u"4h"_s);
    app.crypto.hold(line);
    begin(state.refreshSnapshot());
    const std::weak_ptr<AppState> weak = app.state;
    app.state.reset();
    drainEvents();
    QVERIFY(!weak.expired());
    app.crypto.release(line, gateCandles(waveCandles(60, 3000)));
    QCOMPARE(app.announcements, (QStringList{u"snapshot"_s, u"snapshotConclusion"_s}));
    QVERIFY(weak.expired());
    app.clock.advance(1min);
    QCOMPARE(app.clock.sleeperCount(), 0);

    // A background refresh that has not begun goes with the state.
    AppFixture other;
    other.create();
    other.state.reset();
    drainEvents();
    QVERIFY(other.lines().isEmpty());
}

// The clients go one after the other while refreshes of both segments wait: what resumes in the second one's
// end must not turn to the first. The sanitizers see it if it does.
void AppStateLoopsTest::theProgramMayEndDuringAnyRefresh()
{
    for (const MarketSegment before : {MarketSegment::crypto, MarketSegment::cn}) {
        const MarketSegment after =
            before == MarketSegment::crypto ? MarketSegment::cn : MarketSegment::crypto;
        AppFixture app;
        app.preferences.preset(u"ks_market"_s, rawValue(before));
        app.preferences.preset(u"ks_coin"_s, before == MarketSegment::cn ? u"sh600519"_s : u"ETH"_s);
        app.crypto.hold(gateTickerLine(u"ETH"_s));
        app.stock.hold(quoteLine(u"sh600519"_s));
        // The stocks' client ends first; what then resumes may still ask the other, which ends that too.
        for (int i = 0; i < 4; ++i)
            app.crypto.hold(u"/api/v4/spot/candlesticks"_s);
        app.start();
        app.state->setMarket(after);
        drainEvents();
        QVERIFY(app.crypto.openCount() == 1 && app.stock.openCount() == 1);
    }
}

KESTRUNE_TEST(AppStateLoopsTest)
#include "tst_appstate_loops.moc"
