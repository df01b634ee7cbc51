// SPDX-License-Identifier: MIT
#include "marketday.h"
#include "state/conclusion.h"
#include "state/timeframescore.h"

#include <QJsonArray>
#include <QJsonObject>

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
        const auto updated = app->lastUpdated();
        app->selectedZonePrice = 2900.0;
        app.crypto.fail(gateTickerLine(u"ETH"_s));
        app.run(app->refreshPrice()); // for an error to be cleared
        app.clearLogs();
        app->setCoin(u"ETH"_s); // the same again starts over as well
        expectResetAnalysis(*app.state);
        app.clearLogs();
        app->setCoin(u"SOL"_s);
        QCOMPARE(app.announced(), u"coinSymbol"_s + resetAnnouncements());
        QCOMPARE(app.written(), u"ks_coin=SOL"_s);
        expectResetAnalysis(*app.state);
        // The old price stays until the new one arrives, and a picked zone outlives the selection.
        QCOMPARE(app->price(), 3000.0);
        QCOMPARE(app->lastUpdated(), updated);
        QVERIFY(app->changePct() && !app->dataSource().isEmpty() && app->selectedZonePrice());
        QVERIFY(app.lines().isEmpty());
        drainEvents();
        QCOMPARE(app.asked(u"SOL"_s), 22); // and twice, for both
    }

    void anotherSegment()
    {
        MarketDay app;
        app.serveStock(u"sh600519"_s, 1500);
        app->setMarket(MarketSegment::cn);
        QCOMPARE(app.announced(), u"market coinSymbol timeframe leverage"_s + resetAnnouncements());
        QCOMPARE(app.written(), u"ks_market=A股 ks_coin=sh600519 ks_tf=日线 ks_tf=日线 ks_leverage=1"_s);
        expectResetAnalysis(*app.state);
        QCOMPARE(app->menuTitle(), u"600519  3,000"_s);
        drainEvents();
        QCOMPARE(app.lines().size(), app.asked(u"sh600519"_s));
        QCOMPARE(app->price(), 1500.0);
        app->leverage = 3;
        app.clearLogs();
        app->setMarket(MarketSegment::crypto);
        QCOMPARE(app.written(), u"ks_market=加密 ks_coin=ETH ks_tf=1H ks_tf=1H"_s);
        QCOMPARE(app->leverage(), 3.0); // neither restored nor reset
        drainEvents();
        QCOMPARE(app->price(), 3000.0);
    }

    void anotherTimeframeKeepsTheOldZonesUntilTheNewCome()
    {
        MarketDay app;
        app->setMarket(MarketSegment::crypto); // choosing the same again does nothing
        app->setTimeframe(u"日线"_s);
        drainEvents();
        QCOMPARE(app.announced() + app.written() + app.lines().join(u' '), QString());
        const auto days = app->zones();
        const CandleList hours = waveCandles(150, 3050);
        const QString line = gateCandleLine(u"ETH"_s, u"4h"_s);
        app.crypto.hold(line);
        app->setTimeframe(u"4H"_s);
        QCOMPARE(app.announced(), u"timeframe"_s);
        QCOMPARE(app.written(), u"ks_tf=4H"_s);
        drainEvents();
        QVERIFY(sameZones(app->zones(), days) && app->isLoading());
        app.crypto.release(line, gateCandles(hours));
        QVERIFY(sameZones(app->zones(), buildZones(hours, hours.back().c)));
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
        // The snapshot has three timeframes of its own, whatever else there is to choose.
        using Labels = std::array<QString, 3>;
        QCOMPARE(state.snapshotLabels(), (Labels{u"日线"_s, u"周线"_s, u"月线"_s}));
        state.market = MarketSegment::crypto;
        QCOMPARE(state.snapshotLabels(), (Labels{u"1H"_s, u"4H"_s, u"日线"_s}));
    }

    void eachTimeframeIsScoredAgainstTheOnePrice()
    {
        MarketDay app;
        const CandleList hours = waveCandles(200, 2900);
        const CandleList days = waveCandles(50, 3300);
        app.crypto.answer(gateCandleLine(u"ETH"_s, u"1h"_s), gateCandles(hours));
        app.crypto.answer(gateCandleLine(u"ETH"_s, u"4h"_s), gateCandles(waveCandles(49, 2900)));
        app.crypto.hold(gateCandleLine(u"ETH"_s, u"1d"_s));
        app.run(app->refreshSnapshot());
        QVERIFY(app.announcements.isEmpty()); // scored only when all three are there
        app.priceIs(3050);
        app.announcements.clear();
        app.crypto.release(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(days));
        QCOMPARE(app.announced(), u"snapshot snapshotConclusion"_s);
        QCOMPARE(spelled(app->snapshot()),
                 scored(u"1H"_s, hours, 3050) + u" | 4H 0 数据不足 | "_s + scored(u"日线"_s, days, 3050));
        QCOMPARE(app->snapshotConclusion(), buildConclusion(app->snapshot()));
        app.crypto.fail(gateCandleLine(u"ETH"_s, u"4h"_s)); // a failed one is left out
        app.crypto.fail(binanceCandleLine(u"ETH"_s, u"4h"_s));
        app.run(app->refreshSnapshot());
        QCOMPARE(app->snapshot().size(), 2U);
        QCOMPARE(app->snapshot()[1].label, u"日线"_s);
        QCOMPARE(app->snapshotConclusion(), u"数据加载中…"_s);
        QVERIFY(!app->errorMessage());
    }

    void withoutAPriceTheFirstTimeframeGivesIt()
    {
        AppFixture app;
        app.serveCrypto(3000);
        app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
        app.crypto.failAlways(gateCandleLine(u"ETH"_s, u"1h"_s));
        app.crypto.failAlways(u"/api/v3/klines"_s);
        const CandleList middle = waveCandles(120, 2500);
        const CandleList days = waveCandles(120, 4000);
        app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"4h"_s), gateCandles(middle));
        app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(days));
        AppState &state = app.start();
        const QString before =
            scored(u"4H"_s, middle, middle.back().c) + u" | "_s + scored(u"日线"_s, days, middle.back().c);
        QCOMPARE(spelled(state.snapshot()), before);

        // Without any reference the snapshot stays.
        app.crypto.failAlways(gateCandleLine(u"ETH"_s, u"1d"_s));
        app.crypto.failAlways(gateCandleLine(u"ETH"_s, u"4h"_s));
        CandleList worthless = middle; // this source's rows are taken as they come
        worthless.back().c = 0;
        app.crypto.answer(binanceCandleLine(u"ETH"_s, u"1h"_s), binanceCandles(worthless));
        for (int pass = 0; pass < 2; ++pass) {
            MarketDay::run(state.refreshSnapshot());
            QCOMPARE(state.snapshotConclusion(), u"数据加载中…"_s);
            QCOMPARE(spelled(state.snapshot()), before);
        }
        KESTRUNE_VERIFY_APP(app);
    }

    void aContextValueThatCannotBeComputedIsKeptOrEmptied()
    {
        MarketDay app(3000);
        QVERIFY(app->ctxEMA200() && app->ctxVegas() && app->ctxMACDHist());
        const VegasTunnel tunnel = *app->ctxVegas();
        const double histogram = *app->ctxMACDHist();
        app.crypto.answer(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(waveCandles(30, 2000)));
        app.run(app->refreshSR());
        // 30 candles: no averages, and a histogram needs 34; the tunnel and the histogram keep showing.
        QVERIFY(!app->ctxEMA50() && !app->ctxEMA200() && app->ctxRSI() && app->ctxATR());
        QVERIFY(app->ctxVegas()->up == tunnel.up && app->ctxMACDHist() == histogram);
        QVERIFY(!app.announcements.contains(u"ctxVegas"_s));
    }

    void theTradersListsAreKept()
    {
        using enum MarketSegment;
        AppFixture app;
        app.serveCrypto(3000);
        app.preferences.preset(u"ks_list_cn"_s, QJsonArray{u"sh510300"_s, u"sz000001"_s});
        app.preferences.preset(u"ks_list_hk"_s, QJsonArray{u"hk00700"_s, u"00005"_s});
        app.preferences.preset(u"ks_names"_s,
                               QJsonObject{{u"sz000001"_s, u"平安银行"_s}, {u"sh600519"_s, u"X"_s}});
        AppState &state = app.start();
        InstrumentBook &book = state.instruments();
        QCOMPARE(book.list(cn).join(u' '), u"sh510300 sz000001"_s);
        QCOMPARE(book.name(u"sz000001"_s) + book.name(u"sh600519"_s), u"平安银行"_s);
        QVERIFY(book.isDefault(hk) && book.isDefault(crypto) && book.damaged() == QList{hk});
        book.acknowledgeDamage();
        QVERIFY(book.damaged().isEmpty() && app.preferences.json(u"ks_list_hk"_s).isNull());

        QCOMPARE(book.remove(u"ETH"_s), 0);
        QCOMPARE(state.coinSymbol(), u"BTC"_s); // the neighbour
        QVERIFY(!book.remove(u"ETH"_s));
        state.setCoin(u"TON"_s);
        QCOMPARE(book.remove(u"TON"_s), 8);
        QCOMPARE(state.coinSymbol(), u"LINK"_s);
        book.move(u"LINK"_s, -1);
        book.insert(u"ETH"_s, 99);
        QVERIFY(book.add(crypto, u"SHIB"_s, {}));
        for (const auto &[segment, code] :
             {std::pair(crypto, u"SHIB"_s), {crypto, u"shib"_s}, {cn, u"hk00700"_s}})
            QVERIFY(!book.add(segment, code, {}));
        const QString list = u"LINK BTC SOL BNB XRP DOGE ADA AVAX ETH SHIB"_s;
        QCOMPARE(book.list(crypto).join(u' '), list);
        QCOMPARE(app.preferences.json(u"ks_list_crypto"_s).toArray(),
                 QJsonArray::fromStringList(list.split(u' ')));
        QCOMPARE(state.blingSymbols(), book.list(crypto).first(8));
        state.setCoin(u"SHIB"_s);
        QCOMPARE(state.displayName(), u"SHIB"_s);
        book.resetToDefault(crypto);
        QVERIFY(app.preferences.json(u"ks_list_crypto"_s).isNull() && state.coinSymbol() == u"TON");
        QVERIFY(state.blingSymbols() != book.list(crypto).first(8));
        for (int i = 0; i < 200; ++i)
            QCOMPARE(book.add(crypto, u'C' + QString::number(i), {}), i < 190);
        for (const auto &symbol : {u"sh510300"_s, u"sz000001"_s})
            QCOMPARE(book.remove(symbol).has_value(), symbol == u"sh510300");
        drainEvents();
    }

    void fundsHaveThreeDecimalsAndQuotesNameThem()
    {
        AppFixture app;
        app.serveCrypto(3000);
        app.serveStock(u"sh510300"_s, 4.712);
        app.preferences.preset(u"ks_list_cn"_s, QJsonArray{u"sh510300"_s});
        AppState &state = app.start();
        state.setMarket(MarketSegment::cn);
        drainEvents();
        QVERIFY(state.decimals() == 3 && state.tick() == 0.001);
        QCOMPARE(state.menuTitle(), u"Name  4.712"_s);
        QCOMPARE(app.preferences.json(u"ks_names"_s).toObject().value(u"sh510300"_s).toString(), u"Name"_s);
    }

    void lightAndTitles()
    {
        AppFixture app;
        AppState &state = app.create();
        const auto zone = [](const QString &type, double distPct) {
            return Zone{1, 1, 1, {}, distPct, 1, false, type, {}, {}};
        };
        state.zones = std::vector{zone(u"resistance"_s, 4.0), zone(u"resistance"_s, 3.0),
                                  zone(u"current"_s, 0), zone(u"support"_s, -3.5)};
        QCOMPARE(state.nearestBuyDistPct(), 3.5); // without its sign
        state.zonesOrigin = Origin{state.selection(), app.clock.steady()};
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
