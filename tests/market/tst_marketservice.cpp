// SPDX-License-Identifier: MIT
#include "market/answers.h"
#include "market/marketservice.h"
#include "support/eventloop.h"
#include "support/fakehttpclient.h"
#include "support/testregistry.h"

#include <QTest>

#include <algorithm>
#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

const QString gatePath = u"api.gateio.ws/api/v4/spot/candlesticks"_s;
const QString binancePath = u"data-api.binance.vision/api/v3/klines"_s;
const QString okxPath = u"www.okx.com/api/v5/market/candles"_s;
const QString gatePrice = u"api.gateio.ws/api/v4/futures/usdt/tickers"_s;
const QString binancePrice = u"fapi.binance.com/fapi/v1/ticker/24hr"_s;

QString priceOf(const QString &base)
{
    return gatePrice + u"?contract="_s + base + u"_USDT"_s;
}

} // namespace

class MarketServiceTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { http = std::make_unique<FakeHttpClient>(); }
    void candleRequestsInOrder();
    void theLongerHistoryWins_data();
    void theLongerHistoryWins();
    void oneRequestAtATime();
    void invalidAddressesSendNothing();
    void prices_data();
    void prices();
    void manyPricesInOrderOfCompletion();
    void noSymbolsNoWait();
    void theServiceMayGoFirst();
    void theClientMayGoAway();

private:
    [[nodiscard]] MarketService service() { return {*http, Endpoints::live()}; }

    std::unique_ptr<FakeHttpClient> http;
};

void MarketServiceTest::candleRequestsInOrder()
{
    http->answer(gatePath, R"({"label":"INVALID_CURRENCY"})");
    http->fail(binancePath);
    http->answer(okxPath, okxCandles(30));
    const auto result = QCoro::waitFor(service().fetchKlines(u"eth"_s, u"1m"_s, 160));
    QVERIFY(result);
    QCOMPARE(result->size(), std::size_t{30});
    QCOMPARE(result->front().c, 300.0);
    const QStringList expected{u"/api/v4/spot/candlesticks?currency_pair=ETH_USDT&interval=1m&limit=160"_s,
                               u"/api/v3/klines?symbol=ETHUSDT&interval=1m&limit=160"_s,
                               u"/api/v5/market/candles?instId=ETH-USDT-SWAP&bar=1M&limit=160"_s};
    QCOMPARE(http->lines(), expected);
    for (const auto &request : http->requests()) {
        QCOMPARE(request.url.scheme(), u"https"_s);
        QVERIFY(request.headers.empty());
    }
    KESTRUNE_VERIFY_HTTP(*http);
}

void MarketServiceTest::theLongerHistoryWins_data()
{
    QTest::addColumn<int>("gate"); // rows delivered; negative for a failed transfer
    QTest::addColumn<int>("binance");
    QTest::addColumn<int>("okx"); // zero: must not be asked
    QTest::addColumn<double>("firstClose");
    QTest::newRow("a tie goes to Gate.io") << 200 << 200 << 0 << 100.0;
    QTest::newRow("Binance is longer") << 150 << 200 << 0 << 200.0;
    QTest::newRow("Gate.io is longer") << 200 << 199 << 0 << 100.0;
    QTest::newRow("Gate.io failed") << -1 << 30 << 0 << 200.0;
    QTest::newRow("Gate.io is too short") << 24 << 30 << 0 << 200.0;
    QTest::newRow("Binance failed") << 30 << -1 << 0 << 100.0;
    QTest::newRow("both failed") << -1 << 24 << 200 << 300.0;
    QTest::newRow("all failed") << 24 << -1 << 24 << 0.0;
}

void MarketServiceTest::theLongerHistoryWins()
{
    QFETCH(int, gate);
    QFETCH(int, binance);
    QFETCH(int, okx);
    QFETCH(double, firstClose);
    gate < 0 ? http->fail(gatePath) : http->answer(gatePath, gateCandles(gate));
    binance < 0 ? http->fail(binancePath) : http->answer(binancePath, binanceCandles(binance));
    if (okx > 0)
        http->answer(okxPath, okxCandles(okx));
    const auto result = QCoro::waitFor(service().fetchKlines(u"BTC"_s, u"4h"_s, 200));
    if (result) {
        QCOMPARE(result->front().c, firstClose);
        QVERIFY(result->front().ts < result->back().ts);
    } else {
        QCOMPARE(firstClose, 0.0);
        QVERIFY((result.error() == ServiceError{2, u"所有 K 线源暂不可用"_s}));
    }
    KESTRUNE_VERIFY_HTTP(*http);
}

void MarketServiceTest::oneRequestAtATime()
{
    http->hold(gatePath);
    http->answer(binancePath, binanceCandles(30));
    const auto task = service().fetchKlines(u"BTC"_s);
    drainEvents();
    QCOMPARE(http->lines(),
             QStringList{u"/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1d&limit=200"_s});
    http->release(gatePath, gateCandles(30));
    QVERIFY(task.isReady());
    QCOMPARE(http->requests().size(), std::size_t{2}); // Binance is asked in spite of Gate.io's success
    QCOMPARE(http->mostOpenAtOnce(), 1);
    KESTRUNE_VERIFY_HTTP(*http);
}

void MarketServiceTest::invalidAddressesSendNothing()
{
    for (const QString &symbol : {u"比特币"_s, u"B TC"_s, u"BTC\n"_s}) {
        QCOMPARE(QCoro::waitFor(service().fetchKlines(symbol)).error().code, 2);
        QCOMPARE(QCoro::waitFor(service().fetchPrice(symbol)).error().code, 1);
    }
    QVERIFY(http->requests().empty());
}

void MarketServiceTest::prices_data()
{
    QTest::addColumn<QByteArray>("gate");    // empty for a failed transfer
    QTest::addColumn<QByteArray>("binance"); // "-": must not be asked
    QTest::addColumn<double>("price");
    QTest::addColumn<bool>("hasChange");
    const QByteArray error = R"({"code":-1121,"msg":"Invalid symbol."})";
    QTest::newRow("Gate.io answers") << gateTicker(5) << QByteArray("-") << 5.0 << true;
    QTest::newRow("Gate.io leaves out the change")
        << QByteArray(R"([{"last":5}])") << QByteArray("-") << 5.0 << false;
    QTest::newRow("Gate.io fails") << QByteArray() << binanceTicker(6) << 6.0 << true;
    QTest::newRow("Gate.io knows no such contract") << QByteArray("[]") << binanceTicker(6) << 6.0 << true;
    QTest::newRow("both answer with an error") << error << error << -1.0 << false;
    QTest::newRow("both fail") << QByteArray() << QByteArray() << -1.0 << false;
}

void MarketServiceTest::prices()
{
    QFETCH(QByteArray, gate);
    QFETCH(QByteArray, binance);
    QFETCH(double, price);
    QStringList expected{u"/api/v4/futures/usdt/tickers?contract=BTC_USDT"_s};
    gate.isEmpty() ? http->fail(gatePrice) : http->answer(gatePrice, gate);
    if (binance != "-") {
        binance.isEmpty() ? http->fail(binancePrice) : http->answer(binancePrice, binance);
        expected << u"/fapi/v1/ticker/24hr?symbol=BTCUSDT"_s;
    }
    const auto result = QCoro::waitFor(service().fetchPrice(u"btc"_s));
    QCOMPARE(http->lines(), expected);
    QCOMPARE(result.has_value(), price > 0);
    if (result) {
        QCOMPARE(result->price, price);
        QTEST(result->change.has_value(), "hasChange");
    } else {
        QVERIFY((result.error() == ServiceError{1, u"所有永续合约价格源暂不可用"_s}));
    }
    KESTRUNE_VERIFY_HTTP(*http);
}

void MarketServiceTest::manyPricesInOrderOfCompletion()
{
    for (const QString &base : {u"BTC"_s, u"ETH"_s, u"SOL"_s, u"BTC"_s})
        http->hold(priceOf(base));
    http->fail(binancePrice);
    const QStringList symbols{u"btc"_s, u"eth"_s, u"a b"_s, u"sol"_s, u"BTC"_s};
    auto task = service().fetchPricesConcurrently(symbols);
    QStringList sent;
    for (const auto &request : http->requests())
        sent << request.url.query();
    const QStringList expectedQueries{u"contract=BTC_USDT"_s, u"contract=ETH_USDT"_s, u"contract=SOL_USDT"_s,
                                      u"contract=BTC_USDT"_s};
    QCOMPARE(sent, expectedQueries);
    QCOMPARE(http->openCount(), 4);

    http->release(priceOf(u"SOL"_s), gateTicker(3));
    http->releaseFailure(priceOf(u"ETH"_s));
    http->release(priceOf(u"BTC"_s), gateTicker(1));
    QVERIFY(!task.isReady());
    http->release(priceOf(u"BTC"_s), gateTicker(2));
    QVERIFY(task.isReady());
    QStringList entries;
    for (const SymbolPrice &entry : QCoro::waitFor(task))
        entries << entry.symbol + u' ' + (entry.price ? QString::number(*entry.price) : u"none"_s);
    const QStringList expected{u"A B none"_s, u"SOL 3"_s, u"ETH none"_s, u"BTC 1"_s, u"BTC 2"_s};
    QCOMPARE(entries, expected);
    KESTRUNE_VERIFY_HTTP(*http);
}

void MarketServiceTest::noSymbolsNoWait()
{
    auto task = service().fetchPricesConcurrently({});
    QVERIFY(task.isReady());
    QVERIFY(QCoro::waitFor(task).empty());
}

void MarketServiceTest::theServiceMayGoFirst()
{
    http->hold(priceOf(u"BTC"_s));
    http->hold(gatePath);
    http->answer(binancePrice, binanceTicker(7));
    http->answer(binancePath, binanceCandles(25));
    auto mortal = std::make_unique<MarketService>(*http, Endpoints::live());
    auto prices = mortal->fetchPricesConcurrently({u"BTC"_s});
    auto candles = mortal->fetchKlines(u"BTC"_s);
    mortal.reset();
    http->releaseFailure(priceOf(u"BTC"_s));
    http->releaseFailure(gatePath);
    QCOMPARE(QCoro::waitFor(prices).at(0).price, std::optional(7.0));
    QCOMPARE(QCoro::waitFor(candles)->front().c, 200.0);
    KESTRUNE_VERIFY_HTTP(*http);
}

void MarketServiceTest::theClientMayGoAway()
{
    http->hold(priceOf(u"BTC"_s));
    http->hold(gatePath);
    auto prices = service().fetchPricesConcurrently({u"BTC"_s});
    auto candles = service().fetchKlines(u"BTC"_s);
    http.reset();
    QVERIFY(!QCoro::waitFor(prices).at(0).price);
    QCOMPARE(QCoro::waitFor(candles).error().code, 2);
}

KESTRUNE_TEST(MarketServiceTest)

#include "tst_marketservice.moc"
