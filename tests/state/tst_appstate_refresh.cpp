// SPDX-License-Identifier: MIT
#include "marketday.h"

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class AppStateRefreshTest : public QObject
{
    Q_OBJECT

    static std::vector<double> closesOf(const CandleList &candles, std::size_t first = 0)
    {
        std::vector<double> closes;
        for (std::size_t i = first; i < candles.size(); ++i)
            closes.push_back(candles[i].c);
        return closes;
    }
    /// The announcements without the snapshot's, whose place among the others is not fixed.
    static QString announced(const AppFixture &app)
    {
        return app.announcements.join(u' ').remove(u" snapshotConclusion"_s).remove(u" snapshot"_s);
    }
    static QString zoneAnnouncements()
    {
        return u" isLoading zones sparkline zonePrice decimals ctxEMA50 ctxEMA200 ctxVegas ctxRSI "
               u"ctxMACDHist "
               u"ctxATR ctxVWAP errorMessage lastUpdated isLoading"_s;
    }

private Q_SLOTS:
    void theFullCryptoRefresh()
    {
        AppFixture app;
        const CandleList days = waveCandles(200, 3000);
        const CandleList minutes = waveCandles(160, 3100);
        app.serveCrypto(3210.5, days);
        app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"1m"_s, 160), gateCandles(minutes));
        AppState &state = app.create();
        drainEvents();
        // Price first; then the zones and the three snapshot fetches side by side, each source after source.
        QStringList lines{gateTickerLine(u"ETH"_s)};
        for (const auto &line : {gateCandleLine, binanceCandleLine}) {
            for (const QString &interval : {u"1d"_s, u"1h"_s, u"4h"_s, u"1d"_s})
                lines.append(line(u"ETH"_s, interval, 200));
        }
        lines << gateCandleLine(u"ETH"_s, u"1m"_s, 160) << binanceCandleLine(u"ETH"_s, u"1m"_s, 160);
        QCOMPARE(app.lines(), lines);
        QCOMPARE(announced(app),
                 u"stockQuote price changePct decimals dataSource errorMessage lastUpdated"_s +
                     zoneAnnouncements());
        QVERIFY(app.announcements.join(u' ').contains(u"snapshot snapshotConclusion"_s));
        QCOMPARE(state.price(), 3210.5);
        QCOMPARE(state.changePct(), 1.5);
        QCOMPARE(state.dataSource(), u"Gate.io / Binance 现货（与网页版一致）"_s);
        QCOMPARE(state.sparkline(), closesOf(minutes));
        QVERIFY(!state.zones().empty() && sameZones(state.zones(), buildZones(days, days.back().c)));
        QCOMPARE(state.zonePrice(), days.back().c);
        QCOMPARE(state.lastUpdated(), app.clock.now());
        QVERIFY(!state.isLoading() && !state.errorMessage());
        KESTRUNE_VERIFY_APP(app);
    }

    void theFullStockRefresh()
    {
        AppFixture app;
        app.preferences.preset(u"ks_market"_s, u"A股"_s);
        app.preferences.preset(u"ks_coin"_s, u"SH600519"_s); // codes go out in lower case
        const CandleList days = waveCandles(320, 1500);
        QStringList lines{quoteLine(u"sh600519"_s)};
        app.stock.answer(lines.back(),
                         stockQuotes({{"sh600519", "\xb9\xf3\xd6\xdd\xc3\xa9\xcc\xa8", 1512.5, -0.75}}));
        for (const QString &period : {u"day"_s, u"day"_s, u"week"_s, u"month"_s}) {
            lines.append(stockCandleLine(u"sh600519"_s, period));
            app.stock.answer(lines.back(), stockCandles(u"sh600519"_s, period, days));
        }
        AppState &state = app.create();
        drainEvents();
        QCOMPARE(app.lines(), lines);
        QCOMPARE(app.stock.requests().back().header("Referer"), QByteArray("https://gu.qq.com/"));
        QCOMPARE(announced(app),
                 u"price changePct decimals dataSource stockQuote errorMessage lastUpdated"_s +
                     zoneAnnouncements());
        QCOMPARE(state.price(), 1512.5);
        QCOMPARE(state.changePct(), -0.75);
        QCOMPARE(state.dataSource(), u"腾讯财经（A股 / 港股）"_s);
        QCOMPARE(state.headerTitle(), u"贵州茅台 · A股"_s);
        QVERIFY(sameZones(state.zones(), buildZones(days, days.back().c, 0.01)));
        QCOMPARE(state.sparkline(), closesOf(days, 160));
        KESTRUNE_VERIFY_APP(app);
    }

    void aFailedPriceKeepsWhatWasThere()
    {
        for (const bool isStock : {false, true}) {
            MarketDay app(3210, isStock ? u"港股"_s : u"加密"_s, isStock ? u"hk00700"_s : u"ETH"_s);
            const auto updated = app->lastUpdated();
            app.clock.setNow(app.clock.now() + 1s);
            if (isStock)
                app.stock.answer(quoteLine(u"hk00700"_s), "v_pv_none_match=\"1\";");
            else
                app.crypto.fail(gateTickerLine(u"ETH"_s));
            app.run(app->refreshPrice());
            QCOMPARE(app.announced(), u"errorMessage"_s);
            QCOMPARE(app->errorMessage(), isStock ? u"行情获取失败"_s : u"价格获取失败"_s);
            QCOMPARE(app->lastUpdated(), updated);
            app.run(app->refreshPrice()); // the next success clears it
            QVERIFY(!app->errorMessage());
            QCOMPARE(app->lastUpdated(), app.clock.now());
        }
    }

    void aNewPriceRebuildsTheZones()
    {
        for (const bool isStock : {false, true}) { // stocks have a price step of a cent
            const CandleList candles = waveCandles(200, 1.5);
            const QString code = isStock ? u"sh600519"_s : u"ETH"_s;
            MarketDay app(1.5, isStock ? u"A股"_s : u"加密"_s, code, candles);
            app.serveStock(code, 0.85, candles);
            app.priceIs(0.85);
            QVERIFY(announced(app).endsWith(u"lastUpdated zones zonePrice"_s));
            QCOMPARE(app->zonePrice(), 0.85);
            QVERIFY(sameZones(app->zones(), buildZones(candles, 0.85, isStock ? 0.01 : 0)));
            QCOMPARE(app->decimals(), isStock ? 2 : 4);
            QCOMPARE(app.lines().size(), 1); // no candle request
        }
    }

    void failedZonesKeepWhatWasThere()
    {
        MarketDay app;
        app.crypto.fail(gateCandleLine(u"ETH"_s, u"1d"_s));
        app.crypto.failAlways(u"/api/v3/klines"_s);
        const auto before = app->zones();
        app.run(app->refreshSR());
        // All three sources were asked; the spot exchange's daily bars become the swap's.
        QCOMPARE(app.lines(),
                 (QStringList{gateCandleLine(u"ETH"_s, u"1d"_s), binanceCandleLine(u"ETH"_s, u"1d"_s),
                              okxCandleLine(u"ETH"_s, u"1D"_s)}));
        QCOMPARE(announced(app), u"isLoading errorMessage isLoading"_s);
        QCOMPARE(app->errorMessage(), u"撑压数据获取失败"_s);
        QVERIFY(sameZones(app->zones(), before) && !app->isLoading());

        app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
        app->setCoin(u"BTC"_s);
        drainEvents();
        app.announcements.clear();
        app.priceIs(3001); // a price without candles builds no zones
        QVERIFY(!app.announcements.contains(u"zones"_s));
    }

    void aStockIsAskedAgainOnceAndCryptoWithoutMinutesShowsTheTimeframe()
    {
        MarketDay app(380, u"港股"_s, u"hk00700"_s);
        const QString line = stockCandleLine(u"hk00700"_s, u"day"_s);
        app.stock.answer(line, "{\"code\":0,\"data\":{}}"); // any failure counts, not only the transfer's
        app.run(app->refreshSR());
        QVERIFY(app.announcements.contains(u"zones"_s) && !app->errorMessage());
        app.stock.fail(line);
        app.stock.fail(line);
        app.run(app->refreshSR());
        QCOMPARE(app.lines(), (QStringList{line, line, line, line}));
        QCOMPARE(app->errorMessage(), u"撑压数据获取失败"_s);

        MarketDay other;
        other.crypto.fail(gateCandleLine(u"ETH"_s, u"1m"_s, 160));
        other.crypto.fail(binanceCandleLine(u"ETH"_s, u"1m"_s, 160));
        other.run(other.state->refreshSR());
        // deliberate: the last source takes the same letter for a month
        QCOMPARE(other.lines().last(), okxCandleLine(u"ETH"_s, u"1M"_s, 160));
        QCOMPARE(other.state->sparkline(), closesOf(other.state->lastSRCandles));
        QVERIFY(!other.state->errorMessage());
    }

    void theOutcomeIsTheLastErrorLeft()
    {
        for (int row = 0; row < 8; ++row) {
            const bool isStock = row & 1, priceFails = row & 2, zonesFail = row & 4;
            MarketDay app(3000, isStock ? u"A股"_s : u"加密"_s, u"sh600519"_s);
            if (priceFails) {
                app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
                app.stock.failAlways(quoteLine(u"sh600519"_s));
            }
            if (zonesFail) {
                app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
                app.crypto.failAlways(u"/api/v3/klines"_s);
                app.stock.failAlways(stockCandleLine(u"sh600519"_s, u"day"_s));
            }
            std::optional<RefreshOutcome> outcome;
            app.run(keepResult(app->refreshAll(), &outcome));
            QVERIFY(outcome); // the zones' success clears the price's error
            QCOMPARE(outcome->message, zonesFail ? u"撑压数据获取失败"_s : u"刷新成功"_s);
            QCOMPARE(outcome->success, !zonesFail);
        }
    }

    void lateAnswersAreAppliedInOrderOfArrival()
    {
        MarketDay app;
        const QString line = gateCandleLine(u"ETH"_s, u"1d"_s);
        app.crypto.hold(gateTickerLine(u"ETH"_s));
        app.crypto.hold(line);
        begin(app->refreshPrice());
        begin(app->refreshSR());
        QVERIFY(app->isLoading());
        app.crypto.answerAlways(gateTickerLine(u"BTC"_s), gateTicker(61000));
        app->setCoin(u"BTC"_s);
        drainEvents();
        QCOMPARE(app->price(), 61000.0);
        QVERIFY(!app->isLoading()); // the first to end clears it, though one is still under way
        app.clearLogs();
        const CandleList eth = waveCandles(200, 3300);
        app.crypto.release(line, gateCandles(eth));
        // What is asked after the change is asked for the new instrument, whose own zones come at once.
        QCOMPARE(app.lines().mid(0, 4),
                 (QStringList{binanceCandleLine(u"ETH"_s, u"1d"_s), gateCandleLine(u"BTC"_s, u"1m"_s, 160),
                              binanceCandleLine(u"BTC"_s, u"1m"_s, 160), gateCandleLine(u"BTC"_s, u"1d"_s)}));
        QVERIFY(app->zonesStanding().fresh());
        QCOMPARE(app->zonePrice(), 61000.0);
        app.crypto.release(gateTickerLine(u"ETH"_s), gateTicker(3333));
        QCOMPARE(app->price(), 3333.0);
        QCOMPARE(app->zonePrice(), 61000.0); // nothing is built against another's price
        QVERIFY(!app->livePrice() && !app->tradePlan());
        app.clock.advance(5s);
        QCOMPARE(app->livePrice(), 61000.0);
    }

    void aLateQuoteIsShownAfterLeavingTheStocks()
    {
        MarketDay app(1.5, u"A股"_s, u"sh600519"_s);
        app.stock.hold(quoteLine(u"sh600519"_s));
        begin(app->refreshPrice());
        app->setMarket(MarketSegment::crypto);
        drainEvents();
        app.stock.release(quoteLine(u"sh600519"_s), stockQuotes({{"sh600519", "Late", 1.6, 0}}));
        QCOMPARE(app->price(), 1.6);
        QCOMPARE(app->displayName(), u"Late"_s);
        QVERIFY(app->priceStanding().standing == Standing::foreign && app->zonePrice() != 1.6);
        app.clock.advance(5s);
        QCOMPARE(app->price(), 1.5);
        QVERIFY(!app->stockQuote());
    }
};

KESTRUNE_TEST(AppStateRefreshTest)
#include "tst_appstate_refresh.moc"
