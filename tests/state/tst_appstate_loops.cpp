// SPDX-License-Identifier: MIT
#include "marketday.h"

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// The loops, their ends, and the neon mode, which has two of its own.
class AppStateLoopsTest : public QObject
{
    Q_OBJECT

    static QString spelled(const std::vector<SymbolPrice> &entries)
    {
        QStringList parts;
        for (const SymbolPrice &entry : entries)
            parts.append(entry.price ? u"%1:%2"_s.arg(entry.symbol).arg(*entry.price) : entry.symbol);
        return parts.join(u' ');
    }
    static QString hongKongSigns()
    {
        return quoteLine(u"hk00700,hk09988,hk03690,hk01810,hk00005,hk00939,hk01299,hk09618"_s);
    }
    static QString hongKongPlaceholders() { return u"00700 09988 03690 01810 00005 00939 01299 09618"_s; }

private Q_SLOTS:
    void aPeriodIsSleepPlusWork()
    {
        MarketDay app;
        QCOMPARE(app.clock.sleeperCount(), 3); // price, zones, the watch over their age; no pulse
        app.clock.advance(4999ms);
        QVERIFY(app.lines().isEmpty());
        app.clock.advance(55s);
        QCOMPARE(app.lines().size(), 11); // nothing but prices
        QCOMPARE(app.asked(u"tickers"_s), 11);
        app.clearLogs();
        app.clock.advance(1ms);
        // At 60 s the twelfth price, the zones with their sparkline, and the three timeframes.
        QCOMPARE(app.asked(u"tickers"_s), 1);
        QCOMPARE(app.asked(u"spot/candlesticks"_s), 5);
        QCOMPARE(app.asked(u"interval=1m"_s), 2);
        app.crypto.hold(gateTickerLine(u"ETH"_s));
        app.clearLogs();
        app.clock.advance(8s); // the answer takes 3 s
        app.crypto.release(gateTickerLine(u"ETH"_s), gateTicker(3001));
        app.clock.advance(4999ms);
        QCOMPARE(app.lines().size(), 1);
        app.clock.advance(1ms);
        QCOMPARE(app.lines().size(), 2);
    }

    void aLoopNeverOverlapsItselfButOthersMayOverlapIt()
    {
        MarketDay app;
        const QString line = gateTickerLine(u"ETH"_s);
        const QString candles = gateCandleLine(u"ETH"_s, u"1h"_s); // of the snapshot only
        app.crypto.hold(line);
        app.clock.advance(30s);
        QCOMPARE(app.lines(), QStringList{line}); // six periods, one request
        app.priceIs(3002);
        QCOMPARE(app->price(), 3002.0);
        app.crypto.release(line, gateTicker(3001)); // arrives last, counts
        QCOMPARE(app->price(), 3001.0);
        app.crypto.hold(candles);
        app.clock.advance(150s);
        QCOMPARE(app.asked(u"spot/candlesticks"_s), 5);
        app.crypto.release(candles, gateCandles(waveCandles(200, 3000)));
        app.clock.advance(60s);
        QCOMPARE(app.asked(u"spot/candlesticks"_s), 10);
    }

    void startingAgainReplacesTheLoops()
    {
        MarketDay app;
        app.clock.advance(2s);
        app->startTimers();
        QVERIFY(app.lines().isEmpty()); // cancelling never runs anything inside the call
        drainEvents();
        // The replaced loops run their body once more and end.
        QCOMPARE(app.asked(u"tickers"_s), 1);
        QCOMPARE(app.asked(u"spot/candlesticks"_s), 5);
        QCOMPARE(app.clock.sleeperCount(), 3);
        app.clearLogs();
        app.clock.advance(4999ms); // the old rhythm would have come at 3 s
        QVERIFY(app.lines().isEmpty());
        app->startTimers();
        app->startTimers(); // the middle loops never got to run
        drainEvents();
        QCOMPARE(app.asked(u"tickers"_s), 1);
        QCOMPARE(app.clock.sleeperCount(), 3);
    }

    void loopsEndWithTheStateAndRefreshesKeepItUntilTheyEnd()
    {
        MarketDay app;
        app->toggleBlingMode();
        app->addAlert(3000);
        drainEvents();
        QCOMPARE(app.clock.sleeperCount(), 6);
        const QString line = gateCandleLine(u"ETH"_s, u"4h"_s);
        app.crypto.hold(line);
        begin(app->refreshSnapshot());
        const std::weak_ptr<AppState> weak = app.state;
        app.state.reset();
        drainEvents();
        QVERIFY(!weak.expired());
        app.announcements.clear();
        app.crypto.release(line, gateCandles(waveCandles(60, 3000)));
        QCOMPARE(app.announced(), u"snapshot snapshotConclusion"_s);
        QVERIFY(weak.expired());
        app.clock.advance(0ms);
        QCOMPARE(app.clock.sleeperCount(), 0); // nothing lies in wait for another minute

        AppFixture other; // a background refresh that has not begun goes with the state
        other.create();
        other.state.reset();
        drainEvents();
        QVERIFY(other.lines().isEmpty());
    }

    void comingBackRefreshesEverythingOnce()
    {
        MarketDay app;
        const QString line = gateTickerLine(u"ETH"_s);
        app.clock.passSteady(4min); // asleep
        app.crypto.hold(line);
        app->refreshNow();
        // The first picture tells the age; what is fetched comes later, and once for all that call meanwhile.
        QCOMPARE(app.announced(), u"agesPassed"_s);
        QVERIFY(app->priceStanding().standing == Standing::old);
        QVERIFY(app.lines().isEmpty());
        drainEvents();
        app->refreshNow();
        drainEvents();
        QCOMPARE(app.lines(), QStringList{line});
        app.crypto.release(line, gateTicker(3007));
        QCOMPARE(app.asked(u"spot/candlesticks"_s), 5);
        QCOMPARE(app->zonePrice(), 3007.0); // not the candles' close
        app->refreshNow();
        app.clock.advance(2s);
        QCOMPARE(app.lines().filter(line).size(), 1);
        app->blingMode = true;
        drainEvents();
        app.clearLogs();
        app->refreshNow();
        drainEvents();
        QCOMPARE(app.asked(u"tickers"_s), 9); // with the neon signs
        app.clock.advance(2s);
    }

    void comingBackToADeadNetworkIsTriedAgain()
    {
        MarketDay app;
        const QString line = gateTickerLine(u"ETH"_s);
        app.crypto.fail(line);
        app->refreshNow();
        drainEvents();
        QVERIFY(app->priceFailure.has_value());
        app->refreshNow(); // the network is there a moment after the machine
        app.clock.advance(1999ms);
        QCOMPARE(app.asked(line), 1);
        app.clock.advance(1ms);
        QVERIFY(app.asked(line) == 2 && !app->priceFailure);
        app.clock.advance(2s);
        // A source that rests is asked again, too.
        app.crypto.fail(line);
        app.crypto.answer(binanceTickerLine(u"ETH"_s), binanceTicker(3001));
        app.run(app->refreshPrice());
        app.clearLogs();
        app->refreshNow();
        drainEvents();
        QCOMPARE(app.asked(line), 1);
        app.clock.advance(2s);
        QCOMPARE(app.clock.sleeperCount(), 3);
    }

    // The clients go one after the other while refreshes of both segments wait: what resumes in the second
    // one's end must not turn to the first. The sanitizers see it if it does.
    void theProgramMayEndDuringAnyRefresh()
    {
        for (const MarketSegment before : {MarketSegment::crypto, MarketSegment::cn}) {
            const bool isStock = before == MarketSegment::cn;
            AppFixture app;
            app.preferences.preset(u"ks_market"_s, rawValue(before));
            app.preferences.preset(u"ks_coin"_s, isStock ? u"sh600519"_s : u"ETH"_s);
            app.crypto.hold(gateTickerLine(u"ETH"_s));
            app.stock.hold(quoteLine(u"sh600519"_s));
            // The stocks' client ends first; what then resumes may still ask the other, which ends that too.
            for (int i = 0; i < 4; ++i)
                app.crypto.hold(u"/api/v4/spot/candlesticks"_s);
            app.start().setMarket(isStock ? MarketSegment::crypto : MarketSegment::cn);
            drainEvents();
            QVERIFY(app.crypto.openCount() == 1 && app.stock.openCount() == 1);
        }
    }

    void switchingTheNeonModeOnAndOff()
    {
        MarketDay app;
        app->miniMode = true;
        app.clearLogs();
        app->toggleBlingMode();
        QCOMPARE(app.announced(), u"blingMode miniMode multiPrices"_s);
        QCOMPARE(app.written(), u"ks_bling=true ks_mini=false"_s);
        QCOMPARE(spelled(app->multiPrices()), u"BTC ETH SOL BNB XRP DOGE ADA LINK"_s);
        QVERIFY(app.lines().isEmpty());
        drainEvents();
        QCOMPARE(app.lines().size(), 8);
        QCOMPARE(app.announced(), u"blingMode miniMode multiPrices multiPrices lastUpdated"_s);
        app.crypto.hold(gateTickerLine(u"XRP"_s));
        app.clearLogs();
        app.clock.advance(5s);
        QCOMPARE(app.lines().size(), 9); // with the selected instrument's own
        QCOMPARE(app->blingPulse(), 33);
        app.clearLogs();
        app.clock.advance(20s); // a stalled refresh is never overlapped by its loop
        QCOMPARE(app.lines().size(), 4);
        app.crypto.release(gateTickerLine(u"XRP"_s), gateTicker(2)); // in the order of arrival
        QCOMPARE(spelled(app->multiPrices()),
                 u"BTC:3000 ETH:3000 SOL:3000 BNB:3000 DOGE:3000 ADA:3000 LINK:3000 XRP:2"_s);
        app.clearLogs();
        app->toggleBlingMode();
        QCOMPARE(app.announced(), u"blingMode blingPulse multiPrices miniMode"_s);
        QCOMPARE(app.written(), u"ks_bling=false ks_mini=true"_s);
        QVERIFY(app->multiPrices().empty() && app->miniMode() && app->blingPulse() == 0);
        drainEvents();
        QCOMPARE(app.clock.sleeperCount(), 3); // both loops have ended
        app->miniMode = false;
        app->blingMode = false; // off already: still lands in the compact title
        QVERIFY(app->miniMode());
        app->blingMode = true;
        app->blingMode = true; // and on again starts everything again
        app.clearLogs();
        drainEvents();
        QCOMPARE(app.lines().size(), 16);
        QCOMPARE(app.clock.sleeperCount(), 5);
    }

    void stockSignsComeInOneRequest()
    {
        MarketDay app(380, u"港股"_s, u"hk00700"_s);
        app.stock.answer(hongKongSigns(), stockQuotes({{"hk09988", "B", 80, 1}, {"hk00700", "A", 380, -2}}));
        app->blingMode = true;
        QCOMPARE(spelled(app->multiPrices()), hongKongPlaceholders());
        drainEvents();
        // In the list's own order; what was not answered drops out.
        QCOMPARE(app.lines(), QStringList{hongKongSigns()});
        QCOMPARE(spelled(app->multiPrices()), u"00700:380 09988:80"_s);
        QCOMPARE(app->multiPrices().front().change, -2.0);
        app.stock.fail(hongKongSigns());
        app.clock.setNow(app.clock.now() + 1s);
        app.clock.passSteady(20s);
        QVERIFY(!app->signIsDim(u"00700"_s) && app->signIsDim(u"BTC"_s));
        app.clock.passSteady(1ms);
        app.run(app->refreshBlingPrices());
        QVERIFY(app->signIsDim(u"00700"_s));
        QCOMPARE(spelled(app->multiPrices()), hongKongPlaceholders());
        QCOMPARE(app->lastUpdated(), app.clock.now());
        QVERIFY(!app->errorMessage());

        app.stock.hold(hongKongSigns()); // what arrives after the end of the mode still shows
        begin(app->refreshBlingPrices());
        app->blingMode = false;
        QVERIFY(app->multiPrices().empty());
        app.stock.release(hongKongSigns(), stockQuotes({{"hk00700", "A", 381, 0}}));
        QCOMPARE(spelled(app->multiPrices()), u"00700:381"_s);
    }

    void theSignsFollowTheSegment()
    {
        MarketDay app;
        app->setCoin(u"BTC"_s); // off: no sign is touched
        QVERIFY(!app.announcements.contains(u"multiPrices"_s));
        app->blingMode = true;
        drainEvents();
        app.serveStock(u"hk00700"_s, 380);
        app.stock.answer(hongKongSigns(), stockQuotes({{"hk09988", "B", 80, 0}}));
        app->setMarket(MarketSegment::hk);
        QCOMPARE(spelled(app->multiPrices()), hongKongPlaceholders());
        drainEvents();
        QCOMPARE(spelled(app->multiPrices()), u"09988:80"_s);
    }
};

KESTRUNE_TEST(AppStateLoopsTest)
#include "tst_appstate_loops.moc"
