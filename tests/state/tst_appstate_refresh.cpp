// SPDX-License-Identifier: MIT
#include "analysis/priceformat.h"
#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QStringList zoneAnnouncements{u"zones"_s,       u"sparkline"_s, u"zonePrice"_s, u"decimals"_s,
                                    u"ctxEMA50"_s,    u"ctxEMA200"_s, u"ctxVegas"_s,  u"ctxRSI"_s,
                                    u"ctxMACDHist"_s, u"ctxATR"_s,    u"ctxVWAP"_s,   u"errorMessage"_s,
                                    u"lastUpdated"_s, u"isLoading"_s};

std::vector<double> closesOf(const CandleList &candles, std::size_t first = 0)
{
    std::vector<double> closes;
    for (std::size_t i = first; i < candles.size(); ++i)
        closes.push_back(candles[i].c);
    return closes;
}

/// The announcements without the snapshot's, whose place among the others is not fixed.
QStringList withoutSnapshot(QStringList log)
{
    log.removeAll(u"snapshot"_s);
    log.removeAll(u"snapshotConclusion"_s);
    return log;
}

void selectStock(AppFixture &app, const QString &segment, const QString &code)
{
    app.preferences.preset(u"ks_market"_s, segment);
    app.preferences.preset(u"ks_coin"_s, code);
}

QStringList hostsOf(const FakeHttpClient &http)
{
    QStringList hosts;
    for (const auto &request : http.requests()) {
        if (!hosts.contains(request.url.host()))
            hosts.append(request.url.host());
    }
    return hosts;
}

} // namespace

class AppStateRefreshTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theFullCryptoRefresh();
    void theFullStockRefresh();
    void theSelectedTimeframeIsAsked_data();
    void theSelectedTimeframeIsAsked();
    void aFailedPriceKeepsWhatWasThere_data();
    void aFailedPriceKeepsWhatWasThere();
    void aNewPriceRebuildsTheZones_data();
    void aNewPriceRebuildsTheZones();
    void aPriceWithoutCandlesLeavesTheZonesAlone();
    void failedZonesKeepWhatWasThere();
    void aStockIsAskedAgainOnce();
    void theCryptoSparklineFallsBackToTheTimeframe();
    void theStockSparklineIsTheLastPart();
    void theOutcomeIsTheLastErrorLeft_data();
    void theOutcomeIsTheLastErrorLeft();
    void overlappingZoneRefreshesShareTheLoadingFlag();
    void lateAnswersAreAppliedInOrderOfArrival();
    void aLateQuoteStillCountsAfterLeavingTheStocks();
    void aCodeThatFormsNoAddressOnlyFails();
};

void AppStateRefreshTest::theFullCryptoRefresh()
{
    AppFixture app;
    const CandleList days = waveCandles(200, 3000);
    const CandleList minutes = waveCandles(160, 3100);
    app.serveCrypto(3210.5, days);
    app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"1m"_s, 160), gateCandles(minutes));
    AppState &state = app.create();
    drainEvents();

    // Price first; then the zones and the three snapshot fetches side by side, each source after source.
    const QStringList lines{gateTickerLine(u"ETH"_s),
                            gateCandleLine(u"ETH"_s, u"1d"_s),
                            gateCandleLine(u"ETH"_s, u"1h"_s),
                            gateCandleLine(u"ETH"_s, u"4h"_s),
                            gateCandleLine(u"ETH"_s, u"1d"_s),
                            binanceCandleLine(u"ETH"_s, u"1d"_s),
                            binanceCandleLine(u"ETH"_s, u"1h"_s),
                            binanceCandleLine(u"ETH"_s, u"4h"_s),
                            binanceCandleLine(u"ETH"_s, u"1d"_s),
                            gateCandleLine(u"ETH"_s, u"1m"_s, 160),
                            binanceCandleLine(u"ETH"_s, u"1m"_s, 160)};
    QCOMPARE(app.lines(), lines);
    QCOMPARE(hostsOf(app.crypto), (QStringList{u"api.gateio.ws"_s, u"data-api.binance.vision"_s}));
    QVERIFY(std::ranges::all_of(app.crypto.requests(), [](const auto &r) { return r.headers.empty(); }));

    QStringList expected{u"stockQuote"_s, u"price"_s,        u"changePct"_s,   u"decimals"_s,
                         u"dataSource"_s, u"errorMessage"_s, u"lastUpdated"_s, u"isLoading"_s};
    expected += zoneAnnouncements;
    QCOMPARE(withoutSnapshot(app.announcements), expected);
    QVERIFY(app.announcements.indexOf(u"snapshot"_s) + 1 ==
            app.announcements.indexOf(u"snapshotConclusion"_s));

    QCOMPARE(state.price(), 3210.5);
    QCOMPARE(state.changePct(), 1.5);
    QCOMPARE(state.dataSource(), u"Gate.io / Binance 现货（与网页版一致）"_s);
    QCOMPARE(state.sparkline(), closesOf(minutes));
    QCOMPARE(closesOf(state.lastSRCandles), closesOf(days));
    QVERIFY(!state.zones().empty());
    QVERIFY(sameZones(state.zones(), buildZones(days, days.back().c)));
    QCOMPARE(state.zonePrice(), days.back().c);
    QCOMPARE(state.snapshot().size(), std::size_t(3));
    QCOMPARE(state.lastUpdated(), app.clock.now());
    QVERIFY(!state.isLoading() && !state.errorMessage());
    KESTRUNE_VERIFY_APP(app);
}

void AppStateRefreshTest::theFullStockRefresh()
{
    AppFixture app;
    selectStock(app, u"A股"_s, u"SH600519"_s); // codes go out in lower case
    const CandleList days = waveCandles(320, 1500);
    const QByteArray name = "\xb9\xf3\xd6\xdd\xc3\xa9\xcc\xa8";
    app.stock.answer(quoteLine(u"sh600519"_s), stockQuotes({{"sh600519", name, 1512.5, -0.75}}));
    for (const QString &period : {u"day"_s, u"day"_s, u"week"_s, u"month"_s})
        app.stock.answer(stockCandleLine(u"sh600519"_s, period), stockCandles(u"sh600519"_s, period, days));
    AppState &state = app.create();
    drainEvents();

    const QStringList lines{quoteLine(u"sh600519"_s), stockCandleLine(u"sh600519"_s, u"day"_s),
                            stockCandleLine(u"sh600519"_s, u"day"_s),
                            stockCandleLine(u"sh600519"_s, u"week"_s),
                            stockCandleLine(u"sh600519"_s, u"month"_s)};
    QCOMPARE(app.lines(), lines);
    QCOMPARE(hostsOf(app.stock), (QStringList{u"qt.gtimg.cn"_s, u"web.ifzq.gtimg.cn"_s}));
    for (const auto &request : app.stock.requests()) {
        QCOMPARE(request.headers.size(), std::size_t(1));
        QCOMPARE(request.header("Referer"), QByteArray("https://gu.qq.com/"));
    }
    QStringList expected{u"price"_s,      u"changePct"_s,    u"decimals"_s,    u"dataSource"_s,
                         u"stockQuote"_s, u"errorMessage"_s, u"lastUpdated"_s, u"isLoading"_s};
    expected += zoneAnnouncements;
    QCOMPARE(withoutSnapshot(app.announcements), expected);
    QCOMPARE(state.price(), 1512.5);
    QCOMPARE(state.changePct(), -0.75);
    QCOMPARE(state.decimals(), 2);
    QCOMPARE(state.dataSource(), u"腾讯财经（A股 / 港股）"_s);
    QCOMPARE(state.headerTitle(), u"贵州茅台 · A股"_s);
    QVERIFY(sameZones(state.zones(), buildZones(days, days.back().c, 0.01)));
    QCOMPARE(state.snapshot().back().label, u"月线"_s);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateRefreshTest::theSelectedTimeframeIsAsked_data()
{
    QTest::addColumn<QString>("segment");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("timeframe");
    QTest::addColumn<QString>("line");
    QTest::newRow("1H") << u"加密"_s << u"eth"_s << u"1H"_s << gateCandleLine(u"ETH"_s, u"1h"_s);
    QTest::newRow("4H") << u"加密"_s << u"SOL"_s << u"4H"_s << gateCandleLine(u"SOL"_s, u"4h"_s);
    QTest::newRow("crypto days") << u"加密"_s << u"SOL"_s << u"日线"_s << gateCandleLine(u"SOL"_s, u"1d"_s);
    QTest::newRow("stock days") << u"港股"_s << u"hk00700"_s << u"日线"_s
                                << stockCandleLine(u"hk00700"_s, u"day"_s);
    QTest::newRow("weeks") << u"A股"_s << u"sz000001"_s << u"周线"_s
                           << stockCandleLine(u"sz000001"_s, u"week"_s);
    QTest::newRow("months") << u"A股"_s << u"sz000001"_s << u"月线"_s
                            << stockCandleLine(u"sz000001"_s, u"month"_s);
}

void AppStateRefreshTest::theSelectedTimeframeIsAsked()
{
    QFETCH(QString, segment);
    QFETCH(QString, code);
    QFETCH(QString, timeframe);
    QFETCH(QString, line);
    AppFixture app;
    selectStock(app, segment, code);
    app.preferences.preset(u"ks_tf"_s, timeframe);
    app.serveCrypto(100);
    app.serveStock(code, 100);
    AppState &state = app.start();
    begin(state.refreshSR());
    drainEvents();
    QCOMPARE(app.lines().value(0), line);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateRefreshTest::aFailedPriceKeepsWhatWasThere_data()
{
    QTest::addColumn<QString>("segment");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("message");
    QTest::newRow("crypto") << u"加密"_s << u"ETH"_s << u"价格获取失败"_s;
    QTest::newRow("A-shares") << u"A股"_s << u"sh600519"_s << u"行情获取失败"_s;
    QTest::newRow("Hong Kong") << u"港股"_s << u"hk00700"_s << u"行情获取失败"_s;
}

void AppStateRefreshTest::aFailedPriceKeepsWhatWasThere()
{
    QFETCH(QString, segment);
    QFETCH(QString, code);
    QFETCH(QString, message);
    AppFixture app;
    selectStock(app, segment, code);
    app.serveCrypto(3210);
    app.serveStock(code, 3210);
    AppState &state = app.start();
    const auto updated = state.lastUpdated();
    app.clock.setNow(app.clock.now() + 1s);
    app.crypto.fail(gateTickerLine(code));
    app.stock.answer(quoteLine(code), "v_pv_none_match=\"1\";");
    begin(state.refreshPrice());
    drainEvents();
    QCOMPARE(app.announcements, QStringList{u"errorMessage"_s});
    QCOMPARE(state.errorMessage(), message);
    QCOMPARE(state.price(), 3210.0);
    QCOMPARE(state.lastUpdated(), updated);
    QCOMPARE(state.stockQuote().has_value(), state.isStock());

    begin(state.refreshPrice()); // the next success clears it
    drainEvents();
    QVERIFY(!state.errorMessage());
    QCOMPARE(state.lastUpdated(), app.clock.now());
}

void AppStateRefreshTest::aNewPriceRebuildsTheZones_data()
{
    QTest::addColumn<QString>("segment");
    QTest::addColumn<QString>("code");
    QTest::addColumn<double>("price");
    QTest::newRow("crypto has no price step") << u"加密"_s << u"ETH"_s << 1500.0;
    QTest::newRow("a stock has cents") << u"A股"_s << u"sh600519"_s << 1500.0;
    QTest::newRow("cheap coins get more decimals") << u"加密"_s << u"ETH"_s << 0.0045;
}

void AppStateRefreshTest::aNewPriceRebuildsTheZones()
{
    QFETCH(QString, segment);
    QFETCH(QString, code);
    QFETCH(double, price);
    AppFixture app;
    selectStock(app, segment, code);
    const CandleList candles = waveCandles(200, price);
    app.serveCrypto(price, candles);
    app.serveStock(code, price, candles);
    AppState &state = app.start();
    app.tickTo(price * 1.02);
    app.serveStock(code, price * 1.02, candles);
    begin(state.refreshPrice());
    drainEvents();
    QCOMPARE(app.announcements.mid(app.announcements.size() - 3),
             (QStringList{u"lastUpdated"_s, u"zones"_s, u"zonePrice"_s}));
    QCOMPARE(state.zonePrice(), price * 1.02);
    QVERIFY(sameZones(state.zones(), buildZones(candles, price * 1.02, state.isStock() ? 0.01 : 0)));
    QCOMPARE(state.decimals(), state.isStock() ? 2 : getDecimals(price * 1.02));
    QCOMPARE(app.lines().size(), 1); // no candle request
}

void AppStateRefreshTest::aPriceWithoutCandlesLeavesTheZonesAlone()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
    AppState &state = app.start();
    begin(state.refreshPrice());
    drainEvents();
    QCOMPARE(state.price(), 3000.0);
    QVERIFY(state.zones().empty());
    QCOMPARE(state.zonePrice(), 0.0);
    QVERIFY(!app.announcements.contains(u"zones"_s));
}

void AppStateRefreshTest::failedZonesKeepWhatWasThere()
{
    AppFixture app;
    const CandleList candles = waveCandles(200, 3000);
    app.serveCrypto(3000, candles);
    AppState &state = app.start();
    app.crypto.fail(gateCandleLine(u"ETH"_s, u"1d"_s));
    begin(state.refreshSR());
    drainEvents();
    // All three sources were asked; the spot exchange's daily bars become the swap's.
    QCOMPARE(app.lines(),
             (QStringList{gateCandleLine(u"ETH"_s, u"1d"_s), binanceCandleLine(u"ETH"_s, u"1d"_s),
                          okxCandleLine(u"ETH"_s, u"1D"_s)}));
    QCOMPARE(app.announcements, (QStringList{u"isLoading"_s, u"errorMessage"_s, u"isLoading"_s}));
    QCOMPARE(state.errorMessage(), u"撑压数据获取失败"_s);
    QVERIFY(!state.isLoading());
    QVERIFY(sameZones(state.zones(), buildZones(candles, candles.back().c)));
    QCOMPARE(state.lastSRCandles.size(), candles.size());
    QVERIFY(!state.sparkline().empty() && state.ctxEMA50());
}

void AppStateRefreshTest::aStockIsAskedAgainOnce()
{
    AppFixture app;
    selectStock(app, u"港股"_s, u"hk00700"_s);
    app.serveStock(u"hk00700"_s, 380);
    AppState &state = app.start();
    const QString line = stockCandleLine(u"hk00700"_s, u"day"_s);
    app.stock.answer(line, "{\"code\":0,\"data\":{}}"); // any failure counts, not only the transfer's
    begin(state.refreshSR());
    drainEvents();
    QCOMPARE(app.lines(), (QStringList{line, line}));
    QVERIFY(!app.announcements.filter(u"zones"_s).isEmpty());
    QVERIFY(!state.errorMessage());

    app.clearLogs();
    app.stock.fail(line);
    app.stock.fail(line);
    begin(state.refreshSR());
    drainEvents();
    QCOMPARE(app.lines(), (QStringList{line, line}));
    QCOMPARE(app.announcements, (QStringList{u"isLoading"_s, u"errorMessage"_s, u"isLoading"_s}));
    QCOMPARE(state.errorMessage(), u"撑压数据获取失败"_s);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateRefreshTest::theCryptoSparklineFallsBackToTheTimeframe()
{
    AppFixture app;
    const CandleList candles = waveCandles(200, 3000);
    app.serveCrypto(3000, candles);
    AppState &state = app.start();
    app.crypto.fail(gateCandleLine(u"ETH"_s, u"1m"_s, 160));
    begin(state.refreshSR());
    drainEvents();
    QCOMPARE(app.lines().last(), okxCandleLine(u"ETH"_s, u"1M"_s, 160)); // a month there, kept so
    QCOMPARE(state.sparkline(), closesOf(candles));
    QVERIFY(!state.errorMessage());
}

void AppStateRefreshTest::theStockSparklineIsTheLastPart()
{
    for (const std::size_t count : {std::size_t(161), std::size_t(100)}) {
        AppFixture app;
        selectStock(app, u"A股"_s, u"sz000001"_s);
        const CandleList candles = waveCandles(count, 12);
        app.serveStock(u"sz000001"_s, 12, candles);
        QCOMPARE(app.start().sparkline(), closesOf(candles, count > 160 ? count - 160 : 0));
    }
}

void AppStateRefreshTest::theOutcomeIsTheLastErrorLeft_data()
{
    QTest::addColumn<bool>("stock");
    QTest::addColumn<bool>("priceFails");
    QTest::addColumn<bool>("zonesFail");
    QTest::addColumn<QString>("message");
    const QString good = u"刷新成功"_s;
    const QString bad = u"撑压数据获取失败"_s;
    QTest::newRow("all well") << false << false << false << good;
    QTest::newRow("the zones clear the price's error") << false << true << false << good;
    QTest::newRow("the zones fail") << false << false << true << bad;
    QTest::newRow("both fail") << false << true << true << bad;
    QTest::newRow("a stock's zones clear the quote's error") << true << true << false << good;
    QTest::newRow("a stock's zones fail twice") << true << false << true << bad;
}

void AppStateRefreshTest::theOutcomeIsTheLastErrorLeft()
{
    QFETCH(bool, stock);
    QFETCH(bool, priceFails);
    QFETCH(bool, zonesFail);
    QFETCH(QString, message);
    AppFixture app;
    if (stock)
        selectStock(app, u"A股"_s, u"sh600519"_s);
    app.serveCrypto(3000);
    app.serveStock(u"sh600519"_s, 3000);
    AppState &state = app.start();
    if (priceFails) {
        app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
        app.stock.failAlways(quoteLine(u"sh600519"_s));
    }
    if (zonesFail) {
        app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
        app.stock.failAlways(stockCandleLine(u"sh600519"_s, u"day"_s));
    }
    std::optional<RefreshOutcome> outcome;
    begin(keepResult(state.refreshAll(), &outcome));
    QVERIFY(!outcome);
    drainEvents();
    QVERIFY(outcome);
    QCOMPARE(outcome->message, message);
    QCOMPARE(outcome->success, message == u"刷新成功");
}

void AppStateRefreshTest::overlappingZoneRefreshesShareTheLoadingFlag()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    const QString line = gateCandleLine(u"ETH"_s, u"1d"_s);
    app.crypto.hold(line);
    begin(state.refreshSR());
    QVERIFY(state.isLoading());
    begin(state.refreshSR()); // overtakes the first
    drainEvents();
    QVERIFY(!state.isLoading()); // the first to end clears it, though one is still under way
    const CandleList late = waveCandles(120, 2000);
    app.crypto.release(line, gateCandles(late));
    QVERIFY(!state.isLoading());
    QCOMPARE(closesOf(state.lastSRCandles), closesOf(late));
    KESTRUNE_VERIFY_APP(app);
}

void AppStateRefreshTest::lateAnswersAreAppliedInOrderOfArrival()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    app.crypto.hold(gateTickerLine(u"ETH"_s));
    app.crypto.hold(gateCandleLine(u"ETH"_s, u"1d"_s));
    begin(state.refreshPrice());
    begin(state.refreshSR());
    const CandleList btc = waveCandles(200, 60000);
    app.crypto.answerAlways(gateTickerLine(u"BTC"_s), gateTicker(61000));
    for (const QString &interval : {u"1h"_s, u"4h"_s, u"1d"_s})
        app.crypto.answerAlways(gateCandleLine(u"BTC"_s, interval), gateCandles(btc));
    state.setCoin(u"BTC"_s);
    drainEvents();
    QCOMPARE(state.price(), 61000.0);
    QCOMPARE(state.zonePrice(), btc.back().c);

    app.clearLogs();
    const CandleList eth = waveCandles(200, 3300);
    app.crypto.release(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(eth));
    QVERIFY(sameZones(state.zones(), buildZones(eth, eth.back().c)));
    // What is asked after the change is asked for the new instrument.
    QCOMPARE(app.lines(),
             (QStringList{binanceCandleLine(u"ETH"_s, u"1d"_s), gateCandleLine(u"BTC"_s, u"1m"_s, 160),
                          binanceCandleLine(u"BTC"_s, u"1m"_s, 160)}));
    app.crypto.release(gateTickerLine(u"ETH"_s), gateTicker(3333));
    QCOMPARE(state.price(), 3333.0);
    QVERIFY(sameZones(state.zones(), buildZones(eth, 3333)));
    QCOMPARE(state.coinSymbol(), u"BTC"_s);

    app.clock.advance(60s); // the next refreshes of the selection put it right
    QCOMPARE(state.price(), 61000.0);
    QVERIFY(sameZones(state.zones(), buildZones(btc, btc.back().c)) ||
            sameZones(state.zones(), buildZones(btc, 61000)));
    KESTRUNE_VERIFY_APP(app);
}

void AppStateRefreshTest::aLateQuoteStillCountsAfterLeavingTheStocks()
{
    AppFixture app;
    selectStock(app, u"A股"_s, u"sh600519"_s);
    app.serveCrypto(3000);
    app.serveStock(u"sh600519"_s, 1500);
    AppState &state = app.start();
    app.stock.hold(quoteLine(u"sh600519"_s));
    begin(state.refreshPrice());
    state.setMarket(MarketSegment::crypto);
    drainEvents();
    QCOMPARE(state.price(), 3000.0);
    app.stock.release(quoteLine(u"sh600519"_s), stockQuotes({{"sh600519", "Late", 1501, 0}}));
    QCOMPARE(state.price(), 1501.0);
    QCOMPARE(state.dataSource(), u"腾讯财经（A股 / 港股）"_s);
    QCOMPARE(state.displayName(), u"Late"_s);
    QCOMPARE(state.zonePrice(), 1501.0);
    app.clock.advance(5s);
    QCOMPARE(state.price(), 3000.0);
    QVERIFY(!state.stockQuote());
    QCOMPARE(state.displayName(), u"ETH"_s);
}

void AppStateRefreshTest::aCodeThatFormsNoAddressOnlyFails()
{
    AppFixture app;
    app.preferences.preset(u"ks_coin"_s, u"比特 币"_s);
    AppState &state = app.start();
    QCOMPARE(state.errorMessage(), u"撑压数据获取失败"_s);
    QCOMPARE(state.snapshotConclusion(), u"数据加载中…"_s);
    state.setMarket(MarketSegment::hk);
    app.serveStock(u"hk00700"_s, 380);
    state.setCoin(u"hk 1"_s);
    drainEvents();
    QVERIFY(app.lines().isEmpty());
    QCOMPARE(state.errorMessage(), u"撑压数据获取失败"_s);
    KESTRUNE_VERIFY_APP(app);
}

KESTRUNE_TEST(AppStateRefreshTest)
#include "tst_appstate_refresh.moc"
