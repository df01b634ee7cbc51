// SPDX-License-Identifier: MIT
#include "marketday.h"
#include "state/conclusion.h"
#include "state/timeframescore.h"

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// What a selection resets and asks, and what is derived from what it brings.
class AppStateSelectionTest : public QObject
{
    Q_OBJECT

    static QString resetAnnouncements()
    {
        return u" sparkline stockQuote zones zonePrice ctxEMA50 ctxEMA200 ctxVegas ctxRSI ctxMACDHist ctxATR "
               u"ctxVWAP snapshot snapshotConclusion errorMessage"_s;
    }
    static void expectResetAnalysis(const AppState &state)
    {
        QVERIFY(state.lastSRCandles.empty() && state.sparkline().empty() && state.zones().empty() &&
                !state.stockQuote() && !state.errorMessage() && state.snapshot().empty() &&
                state.zonePrice() == 0 && !state.ctxEMA50() && !state.ctxEMA200() && !state.ctxVegas() &&
                !state.ctxRSI() && !state.ctxMACDHist() && !state.ctxATR() && !state.ctxVWAP());
        QCOMPARE(state.snapshotConclusion(), u"加载中…"_s);
    }
    /// The labels and scores of a snapshot in one text.
    static QString spelled(const std::vector<TimeframeSignal> &snapshot)
    {
        QStringList parts;
        for (const TimeframeSignal &signal : snapshot)
            parts.append(u"%1 %2 %3"_s.arg(signal.label).arg(signal.score).arg(signal.reason));
        return parts.join(u" | "_s);
    }
    static QString scored(const QString &label, const CandleList &candles, double price)
    {
        return spelled({scoreTimeframe(label, candles, price)});
    }

private Q_SLOTS:
    void anotherInstrument()
    {
        MarketDay app;
        AppState &state = *app.state;
        const auto updated = state.lastUpdated();
        state.selectedZonePrice = 2900.0;
        app.crypto.fail(gateTickerLine(u"ETH"_s));
        app.run(state.refreshPrice()); // for an error to be cleared
        app.clearLogs();
        state.setCoin(u"SOL"_s);
        QCOMPARE(app.announcements.join(u' '), u"coinSymbol"_s + resetAnnouncements());
        QCOMPARE(app.preferences.writes(), QStringList{u"ks_coin=SOL"_s});
        expectResetAnalysis(state);
        // The old price stays until the new one arrives, and a picked zone outlives the selection.
        QCOMPARE(state.price(), 3000.0);
        QCOMPARE(state.lastUpdated(), updated);
        QVERIFY(state.changePct() && !state.dataSource().isEmpty() && state.selectedZonePrice());
        QVERIFY(app.lines().isEmpty());
        drainEvents();
        QCOMPARE(app.asked(u"SOL"_s), 11);
        state.setCoin(u"SOL"_s); // the same again starts over
        expectResetAnalysis(state);
    }

    void anotherSegment()
    {
        MarketDay app;
        AppState &state = *app.state;
        app.serveStock(u"sh600519"_s, 1500);
        state.setMarket(MarketSegment::cn);
        QCOMPARE(app.announcements.join(u' '),
                 u"market coinSymbol timeframe leverage"_s + resetAnnouncements());
        QCOMPARE(app.preferences.writes(),
                 (QStringList{u"ks_market=A股"_s, u"ks_coin=sh600519"_s, u"ks_tf=日线"_s, u"ks_tf=日线"_s,
                              u"ks_leverage=1"_s}));
        expectResetAnalysis(state);
        QCOMPARE(state.menuTitle(), u"600519  3,000"_s);
        drainEvents();
        QCOMPARE(app.lines().size(), app.asked(u"sh600519"_s));
        QCOMPARE(state.price(), 1500.0);
        state.leverage = 3;
        app.clearLogs();
        state.setMarket(MarketSegment::crypto);
        QCOMPARE(app.preferences.writes(),
                 (QStringList{u"ks_market=加密"_s, u"ks_coin=ETH"_s, u"ks_tf=1H"_s, u"ks_tf=1H"_s}));
        QCOMPARE(state.leverage(), 3.0); // neither restored nor reset
        drainEvents();
        QCOMPARE(state.price(), 3000.0);
    }

    void anotherTimeframeKeepsTheOldZonesUntilTheNewCome()
    {
        MarketDay app;
        AppState &state = *app.state;
        state.setMarket(MarketSegment::crypto); // choosing the same again does nothing
        state.setTimeframe(u"日线"_s);
        drainEvents();
        QVERIFY(app.announcements.isEmpty() && app.preferences.writes().isEmpty() && app.lines().isEmpty());

        const auto days = state.zones();
        const CandleList hours = waveCandles(150, 3050);
        const QString line = gateCandleLine(u"ETH"_s, u"4h"_s);
        app.crypto.hold(line);
        state.setTimeframe(u"4H"_s);
        QCOMPARE(app.announcements, QStringList{u"timeframe"_s});
        QCOMPARE(app.preferences.writes(), QStringList{u"ks_tf=4H"_s});
        drainEvents();
        QVERIFY(sameZones(state.zones(), days) && state.isLoading());
        app.crypto.release(line, gateCandles(hours));
        QVERIFY(sameZones(state.zones(), buildZones(hours, hours.back().c)));
        QCOMPARE(app.lines().size(), 4); // the zones' and the sparkline's
        QVERIFY(!app.announcements.contains(u"snapshot"_s));
    }

    void onlyTheLastOfSeveralSelectionsIsAsked()
    {
        AppFixture app;
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
        QVERIFY(app.stock.lines().contains(stockCandleLine(u"hk00005"_s, u"week"_s)));
        KESTRUNE_VERIFY_APP(app);
    }

    void theSnapshotHasItsOwnThreeTimeframes()
    {
        using Labels = std::array<QString, 3>; // whatever else there is to choose
        AppFixture app;
        QCOMPARE(app.create().snapshotLabels(), (Labels{u"1H"_s, u"4H"_s, u"日线"_s}));
        app.state->market = MarketSegment::hk;
        QCOMPARE(app.state->snapshotLabels(), (Labels{u"日线"_s, u"周线"_s, u"月线"_s}));
    }

    void eachTimeframeIsScoredAgainstTheOnePrice()
    {
        MarketDay app;
        AppState &state = *app.state;
        const CandleList hours = waveCandles(200, 2900);
        const CandleList days = waveCandles(50, 3300);
        app.crypto.answer(gateCandleLine(u"ETH"_s, u"1h"_s), gateCandles(hours));
        app.crypto.answer(gateCandleLine(u"ETH"_s, u"4h"_s),
                          gateCandles(waveCandles(49, 2900))); // one too few
        app.crypto.hold(gateCandleLine(u"ETH"_s, u"1d"_s));
        app.run(state.refreshSnapshot());
        QVERIFY(app.announcements.isEmpty()); // scored only when all three are there
        app.priceIs(3050);
        app.announcements.clear();
        app.crypto.release(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(days));
        QCOMPARE(app.announcements, (QStringList{u"snapshot"_s, u"snapshotConclusion"_s}));
        QCOMPARE(spelled(state.snapshot()),
                 scored(u"1H"_s, hours, 3050) + u" | 4H 0 数据不足 | "_s + scored(u"日线"_s, days, 3050));
        QCOMPARE(state.snapshotConclusion(), buildConclusion(state.snapshot()));

        app.crypto.fail(gateCandleLine(u"ETH"_s, u"4h"_s)); // a failed one is left out
        app.run(state.refreshSnapshot());
        QCOMPARE(state.snapshot().size(), 2U);
        QCOMPARE(state.snapshot()[1].label, u"日线"_s);
        QCOMPARE(state.snapshotConclusion(), u"数据加载中…"_s);
        QVERIFY(!state.errorMessage());
        app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
        app.run(state.refreshSnapshot());
        QVERIFY(state.snapshot().empty());
    }

    void withoutAPriceTheFirstTimeframeGivesIt()
    {
        AppFixture app;
        app.serveCrypto(3000);
        app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
        app.crypto.failAlways(gateCandleLine(u"ETH"_s, u"1h"_s));
        const CandleList middle = waveCandles(120, 2500);
        const CandleList days = waveCandles(120, 4000);
        app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"4h"_s), gateCandles(middle));
        app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(days));
        AppState &state = app.start();
        const QString before =
            scored(u"4H"_s, middle, middle.back().c) + u" | "_s + scored(u"日线"_s, days, middle.back().c);
        QCOMPARE(spelled(state.snapshot()), before);

        // Without any reference the snapshot stays.
        for (const std::optional<double> price : {std::optional(0.0), std::optional(-1.0),
                                                  std::optional(std::nan("")), std::optional<double>()}) {
            if (!price)
                app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
            app.crypto.failAlways(gateCandleLine(u"ETH"_s, u"1d"_s));
            app.crypto.failAlways(gateCandleLine(u"ETH"_s, u"4h"_s));
            state.price = price;
            app.announcements.clear();
            MarketDay::run(state.refreshSnapshot());
            QCOMPARE(app.announcements, QStringList{u"snapshotConclusion"_s});
            QCOMPARE(state.snapshotConclusion(), u"数据加载中…"_s);
            QCOMPARE(spelled(state.snapshot()), before);
        }
    }

    void aContextValueThatCannotBeComputedIsKeptOrEmptied()
    {
        MarketDay app(3000);
        AppState &state = *app.state;
        QVERIFY(state.ctxEMA200() && state.ctxVegas() && state.ctxMACDHist() && state.ctxVWAP());
        const VegasTunnel tunnel = *state.ctxVegas();
        const double histogram = *state.ctxMACDHist();
        app.crypto.answer(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(waveCandles(30, 2000)));
        app.run(state.refreshSR());
        // 30 candles: no averages, and a histogram needs 34; the tunnel and the histogram keep showing.
        QVERIFY(!state.ctxEMA50() && !state.ctxEMA200() && state.ctxRSI() && state.ctxATR());
        QVERIFY(state.ctxVegas()->up == tunnel.up && state.ctxVegas()->down == tunnel.down);
        QCOMPARE(state.ctxMACDHist(), histogram);
        QCOMPARE(app.announcements.count(u"ctxVegas"_s), 0);
    }

    void lightAndTitles()
    {
        AppFixture app;
        AppState &state = app.create();
        const auto zone = [](const QString &type, double distPct) {
            return Zone{1, 1, 1, {}, distPct, 1, false, type, {}, {}};
        };
        QVERIFY(!state.nearestBuyDistPct() && !state.nearestSellDistPct());
        state.zones = std::vector{zone(u"resistance"_s, 4.0), zone(u"resistance"_s, 3.0),
                                  zone(u"current"_s, 0), zone(u"support"_s, -3.5)};
        QCOMPARE(state.nearestBuyDistPct(), 3.5); // without its sign
        QCOMPARE(state.statusText(), u"中间区域 · 观望"_s);
        state.signalThreshold = 3.0;
        QCOMPARE(state.statusText(), u"接近阻力区 · 偏卖出"_s);

        state.coinSymbol = u"eth"_s;
        QCOMPARE(state.headerTitle(), u"eth/USDT · 永续"_s);
        QCOMPARE(state.menuTitle(), u"ETH  …"_s);
        state.price = 3456.78;
        QCOMPARE(state.menuTitle(), u"ETH  3,456.78"_s);
        state.miniMode = true;
        QCOMPARE(state.menuTitle(), u"3,456.78"_s);
        state.coinSymbol = u"sz000001"_s;
        state.stockQuote = StockQuote{}; // a name of nothing does not count
        QCOMPARE(state.displayName(), u"000001"_s);
        QCOMPARE(state.dataSourceNote(), u"仅供学习参考，不构成投资建议。"_s);
    }
};

KESTRUNE_TEST(AppStateSelectionTest)
#include "tst_appstate_selection.moc"
