// SPDX-License-Identifier: MIT
#include "market/instrumentsearch.h"
#include "market/marketservice.h"
#include "market/stockmarketservice.h"
#include "support/eventloop.h"
#include "support/fakeclock.h"
#include "support/fakehttpclient.h"
#include "support/marketbodies.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class ServicesTest : public QObject
{
    Q_OBJECT

    inline static const QString gatePath = u"/api/v4/spot/candlesticks"_s;
    inline static const QString binancePath = u"/api/v3/klines"_s;
    inline static const QString okxPath = u"/api/v5/market/candles"_s;
    inline static const QString gatePrice = u"/api/v4/futures/usdt/tickers"_s;
    inline static const QString binancePrice = u"/fapi/v1/ticker/24hr"_s;
    inline static const QString stockPath = u"/appstock/app/fqkline/get"_s;

    static QByteArray gate(int count) { return gateCandles(waveCandles(std::size_t(count), 100)); }
    static QByteArray binance(int count) { return binanceCandles(waveCandles(std::size_t(count), 200)); }
    static QByteArray okx(int count) { return okxCandles(waveCandles(std::size_t(count), 300)); }
    static QByteArray days(const QString &code, std::size_t count)
    {
        return stockCandles(code, u"day"_s, waveCandles(count, 400));
    }
    static QString priceOf(const QString &base) { return gatePrice + u"?contract="_s + base + u"_USDT"_s; }

    // Each knows of no failure yet.
    [[nodiscard]] SharedSourceHealth health() const { return std::make_shared<SourceHealth>(clock); }
    [[nodiscard]] MarketService crypto() { return {*http, Endpoints::live(), health()}; }
    [[nodiscard]] StockMarketService stocks() { return {*http, clock, Endpoints::live(), health()}; }
    /// The sources asked since the last call: Gate.io, Binance, OKX, a stock's.
    [[nodiscard]] QString initials()
    {
        QString all;
        for (const auto &request : http->requests()) {
            const QString host = request.url.host();
            all += host.contains(u"gate"_s)      ? u'G'
                   : host.contains(u"binance"_s) ? u'B'
                   : host.contains(u"okx"_s)     ? u'O'
                                                 : u'S';
        }
        http->clearRequests();
        return all;
    }
    /// Whole addresses, each with the value of the header that stocks are asked with.
    [[nodiscard]] QStringList asked() const
    {
        QStringList list;
        for (const auto &request : http->requests()) {
            list.append(request.url.toString());
            for (const HttpHeader &header : request.headers)
                list.last() += u' ' + QString::fromLatin1(header.name + '=' + header.value);
        }
        return list;
    }

    FakeClock clock;
    std::unique_ptr<FakeHttpClient> http;

private Q_SLOTS:
    void init() { http = std::make_unique<FakeHttpClient>(); }
    void cleanup()
    {
        if (http)
            KESTRUNE_VERIFY_HTTP(*http);
    }

    void candleRequestsInOrder()
    {
        http->hold(gatePath);
        http->fail(binancePath);
        http->answer(okxPath, okx(30));
        auto task = crypto().fetchKlines(u"eth"_s, u"1m"_s, 160);
        drainEvents();
        QCOMPARE(http->requests().size(), std::size_t{1}); // one at a time
        http->release(gatePath, R"({"label":"INVALID_CURRENCY"})");
        const auto result = QCoro::waitFor(task);
        QVERIFY(result);
        QCOMPARE(result->size(), std::size_t{30});
        QCOMPARE(
            asked(),
            (QStringList{
                u"https://api.gateio.ws/api/v4/spot/candlesticks?currency_pair=ETH_USDT&interval=1m&limit=160"_s,
                u"https://data-api.binance.vision/api/v3/klines?symbol=ETHUSDT&interval=1m&limit=160"_s,
                u"https://www.okx.com/api/v5/market/candles?instId=ETH-USDT-SWAP&bar=1M&limit=160"_s}));
    }

    void theLongerHistoryWins()
    {
        const struct
        {
            const char *name;
            int gateRows, binanceRows; // negative for a failed transfer
            int okxRows;               // zero: must not be asked
            double firstOpen;          // tells the source; 0 for none
        } rows[] = {
            {"a tie goes to Gate.io", 200, 200, 0, 100}, {"Binance is longer", 150, 200, 0, 200},
            {"Gate.io is longer", 200, 199, 0, 100},     {"Gate.io failed", -1, 30, 0, 200},
            {"Gate.io is too short", 24, 30, 0, 200},    {"Binance failed", 30, -1, 0, 100},
            {"both failed", -1, 24, 200, 300},           {"all failed", 24, -1, 24, 0},
        };
        forEachRow(rows, [this](const auto &row) {
            row.gateRows < 0 ? http->fail(gatePath) : http->answer(gatePath, gate(row.gateRows));
            row.binanceRows < 0 ? http->fail(binancePath)
                                : http->answer(binancePath, binance(row.binanceRows));
            if (row.okxRows > 0)
                http->answer(okxPath, okx(row.okxRows));
            const auto result = QCoro::waitFor(crypto().fetchKlines(u"BTC"_s, u"4h"_s, 200));
            QCOMPARE(result.has_value(), row.firstOpen > 0);
            QVERIFY(result ? result->front().o == row.firstOpen
                           : (result.error() == ServiceError{2, u"所有 K 线源暂不可用"_s}));
            KESTRUNE_VERIFY_HTTP(*http);
        });
    }

    void invalidAddressesSendNothing()
    {
        for (const QString &symbol : {u"比特币"_s, u"B TC"_s, u"BTC\n"_s}) {
            QCOMPARE(QCoro::waitFor(crypto().fetchKlines(symbol)).error().code, 2);
            QCOMPARE(QCoro::waitFor(crypto().fetchPrice(symbol)).error().code, 1);
        }
        QVERIFY(
            (QCoro::waitFor(stocks().fetchKlines(u"茅台"_s)).error() == ServiceError{2, u"K线地址无效"_s}));
        for (const QStringList &codes : {QStringList{}, QStringList{u"sh600519"_s, u"茅台"_s}})
            QVERIFY(QCoro::waitFor(stocks().fetchQuotes(codes))->isEmpty());
        QVERIFY(http->requests().empty());
    }

    void prices()
    {
        const QByteArray error = R"({"code":-1121,"msg":"Invalid symbol."})";
        const struct
        {
            const char *name;
            QByteArray gateBody, binanceBody; // empty for a failed transfer; "-": must not be asked
            double price;                     // 0 for none
            bool hasChange;
        } rows[] = {
            {"Gate.io answers", gateTicker(5, 1), "-", 5, true},
            {"Gate.io leaves out the change", gateTicker(5), "-", 5, false},
            {"Gate.io fails", "", binanceTicker(6, 1), 6, true},
            {"Gate.io knows no such contract", "[]", binanceTicker(6, 1), 6, true},
            {"both answer with an error", error, error, 0, false},
            {"both fail", "", "", 0, false},
        };
        forEachRow(rows, [this](const auto &row) {
            http->clearRequests();
            row.gateBody.isEmpty() ? http->fail(gatePrice) : http->answer(gatePrice, row.gateBody);
            QStringList expected{u"https://api.gateio.ws/api/v4/futures/usdt/tickers?contract=BTC_USDT"_s};
            if (row.binanceBody != "-") {
                row.binanceBody.isEmpty() ? http->fail(binancePrice)
                                          : http->answer(binancePrice, row.binanceBody);
                expected << u"https://fapi.binance.com/fapi/v1/ticker/24hr?symbol=BTCUSDT"_s;
            }
            const auto result = QCoro::waitFor(crypto().fetchPrice(u"btc"_s));
            QCOMPARE(asked(), expected);
            QCOMPARE(result.has_value(), row.price > 0);
            QVERIFY(result ? result->price == row.price && result->change.has_value() == row.hasChange
                           : (result.error() == ServiceError{1, u"所有永续合约价格源暂不可用"_s}));
        });
    }

    void manyPricesInOrderOfCompletion()
    {
        const QString btc = priceOf(u"BTC"_s);
        for (const QString &base : {u"BTC"_s, u"ETH"_s, u"SOL"_s, u"BTC"_s})
            http->hold(priceOf(base));
        http->fail(binancePrice);
        const QStringList symbols{u"btc"_s, u"eth"_s, u"a b"_s, u"sol"_s, u"BTC"_s};
        auto task = crypto().fetchPricesConcurrently(symbols);
        QCOMPARE(http->lines(), (QStringList{btc, priceOf(u"ETH"_s), priceOf(u"SOL"_s), btc}));
        http->release(priceOf(u"SOL"_s), gateTicker(3));
        http->releaseFailure(priceOf(u"ETH"_s));
        http->release(btc, gateTicker(1));
        QVERIFY(!task.isReady());
        http->release(btc, gateTicker(2));
        QVERIFY(task.isReady());
        QStringList entries;
        for (const SymbolPrice &entry : QCoro::waitFor(task))
            entries << entry.symbol + u' ' + (entry.price ? QString::number(*entry.price) : u"none"_s);
        QCOMPARE(entries, (QStringList{u"A B none"_s, u"SOL 3"_s, u"ETH none"_s, u"BTC 1"_s, u"BTC 2"_s}));
        QVERIFY(QCoro::waitFor(crypto().fetchPricesConcurrently({})).empty());
    }

    void quotes()
    {
        const QStringList codes{u"SH600519"_s, u"hk00700"_s};
        const QString path = u"/q=sh600519,hk00700"_s;
        http->answer(path, stockQuotes({{"sh600519", "\xb9\xf3", 5, 1}, {"hk00700", "T", 6, 2}}));
        const auto found = QCoro::waitFor(stocks().fetchQuotes(codes)).value_or(StockQuotes());
        QCOMPARE(asked(),
                 QStringList{u"https://qt.gtimg.cn/q=sh600519,hk00700 Referer=https://gu.qq.com/"_s});
        QCOMPARE(found.size(), 2);
        QCOMPARE(found.value(u"sh600519"_s).name, u"贵"_s);
        QVERIFY(found.value(u"hk00700"_s).updatedAt == clock.now());

        http->fail(path);
        QVERIFY((QCoro::waitFor(stocks().fetchQuotes(codes)).error() == ServiceError{}));
        http->answer(path, "v_sh600519=\"1~\xff\xff~\";"); // neither GB 18030 nor UTF-8
        QVERIFY(QCoro::waitFor(stocks().fetchQuotes(codes))->isEmpty());

        http->answer(u"/q=sz000001"_s, stockQuotes({{"sz000001", "P", 11.43, 1}}));
        const auto quote = QCoro::waitFor(stocks().fetchQuote(u"SZ000001"_s));
        QVERIFY(quote && quote->price == 11.43);
        http->answer(u"/q=sz000002"_s, stockQuotes({{"sz000001", "P", 11.43, 1}}));
        QVERIFY(!QCoro::waitFor(stocks().fetchQuote(u"sz000002"_s)));
    }

    void stockCandleRequests()
    {
        http->answer(stockPath, days(u"sh600519"_s, 30));
        http->answer(stockPath, stockCandles(u"hk00700"_s, u"week"_s, waveCandles(26, 9)));
        http->answer(stockPath, days(u"sh600519"_s, 24));
        http->fail(stockPath);
        QCOMPARE(QCoro::waitFor(stocks().fetchKlines(u"SH600519"_s))->size(), std::size_t{30});
        QCOMPARE(QCoro::waitFor(stocks().fetchKlines(u"hk00700"_s, u"week"_s, 160))->size(), std::size_t{26});
        const QString base = u"https://web.ifzq.gtimg.cn/appstock/app/fqkline/get?param="_s;
        QCOMPARE(asked(), (QStringList{base + u"sh600519,day,,,320,qfq Referer=https://gu.qq.com/"_s,
                                       base + u"hk00700,week,,,160,qfq Referer=https://gu.qq.com/"_s}));
        QCOMPARE(QCoro::waitFor(stocks().fetchKlines(u"sh600519"_s)).error().code, 4);
        QVERIFY((QCoro::waitFor(stocks().fetchKlines(u"sh600519"_s)).error() == ServiceError{}));
    }

    void refusalsAreToldWithTheFailure()
    {
        const Refusal tooMany{429, 30s}, banned{418, {}}, notHere{451, {}};
        http->answer(gatePath, "{}", 429, 30s);
        http->answer(binancePath, "{}", 500);
        http->fail(okxPath);
        QCOMPARE(QCoro::waitFor(crypto().fetchKlines(u"BTC"_s)).error().refusal, std::optional(tooMany));
        for (int i = 0; i < 2; ++i) {
            http->answer(gatePrice, "{}", 429, 30s);
            http->answer(binancePrice, "{}", 418);
        }
        QCOMPARE(QCoro::waitFor(crypto().fetchPrice(u"BTC"_s)).error().refusal, std::optional(banned));
        QCOMPARE(QCoro::waitFor(crypto().fetchPricesConcurrently({u"BTC"_s})).at(0).refusal,
                 std::optional(banned));
        http->answer(gatePrice, "{}", 429);
        http->answer(binancePrice, binanceTicker(6, 1));
        QVERIFY(QCoro::waitFor(crypto().fetchPrice(u"BTC"_s))); // the other source is asked as ever
        http->answer(stockPath, "{}", 451);
        QCOMPARE(QCoro::waitFor(stocks().fetchKlines(u"sh600519"_s)).error().refusal, std::optional(notHere));
        http->answer(u"/q=sh600519"_s, "", 451);
        QCOMPARE(QCoro::waitFor(stocks().fetchQuote(u"sh600519"_s)).error().refusal, std::optional(notHere));
        http->answer(u"/q=sh600519"_s, "", 503);
        QCOMPARE(QCoro::waitFor(stocks().fetchQuote(u"sh600519"_s)).error().refusal, std::nullopt);
    }

    void aSourceThatFailsRestsWhileAnotherAnswers()
    {
        const MarketService service = crypto();
        const auto priceAsks = [&](const QString &base) {
            QCoro::waitFor(service.fetchPrice(base));
            return initials();
        };
        http->failAlways(gatePrice);
        http->answerAlways(binancePrice, binanceTicker(6));
        // Before and after each of the rests, whose lengths vary by a fifth but are never above the limit.
        for (const auto &[least, most] : {std::pair(4s, 6s), std::pair(8s, 12s), std::pair(16s, 24s),
                                          std::pair(32s, 48s), std::pair(48s, 60s), std::pair(48s, 60s)}) {
            QCOMPARE(priceAsks(u"BTC"_s), u"GB"_s);
            clock.passSteady(least - 1ms);
            QCOMPARE(priceAsks(u"BTC"_s), u"B"_s);
            QCOMPARE(priceAsks(u"ETH"_s).right(1), u"B"_s); // rests for itself
            clock.passSteady(most - least + 1ms);
        }
        http->failAlways(binancePrice);
        QCOMPARE(priceAsks(u"SOL"_s), u"GB"_s);
        QCOMPARE(priceAsks(u"SOL"_s), u"GB"_s); // both rest, and nobody else is there to answer
        http->answerAlways(gatePrice, gateTicker(5));
        QCOMPARE(priceAsks(u"SOL"_s), u"G"_s);
        http->failAlways(gatePrice); // the success has ended it, the next one is a first failure
        QCOMPARE(priceAsks(u"SOL"_s), u"GB"_s);
        http->answerAlways(binancePrice, binanceTicker(6));
        clock.passSteady(6s);
        QCOMPARE(priceAsks(u"SOL"_s), u"GB"_s);
    }

    void restingSourcesOfCandles()
    {
        const auto shared = health();
        const MarketService service(*http, Endpoints::live(), shared);
        const auto candlesAsk = [&](const QString &interval) {
            QCoro::waitFor(service.fetchKlines(u"BTC"_s, interval));
            return initials();
        };
        http->answerAlways(gatePath, gate(24)); // too few of this timeframe, which says nothing of others
        http->answerAlways(binancePath, binance(30));
        QCOMPARE(candlesAsk(u"1M"_s), u"GB"_s);
        QCOMPARE(candlesAsk(u"1M"_s), u"B"_s);
        QCOMPARE(candlesAsk(u"1d"_s), u"GB"_s);
        shared->forgetFailures();
        http->failAlways(gatePath); // the host is away, for all timeframes
        QCOMPARE(candlesAsk(u"1d"_s), u"GB"_s);
        QCOMPARE(candlesAsk(u"4h"_s), u"B"_s);
        http->failAlways(binancePath);
        http->answerAlways(okxPath, okx(30));
        QCOMPARE(candlesAsk(u"1d"_s), u"BO"_s);
        QCOMPARE(candlesAsk(u"1d"_s), u"O"_s);
        http->failAlways(okxPath);
        QCOMPARE(candlesAsk(u"1d"_s), u"OGB"_s); // all the same, as it was long ago
        QCOMPARE(candlesAsk(u"1d"_s), u"GBO"_s);
    }

    void whoRefusesIsNotAskedUntilTheTimeIsOver()
    {
        const struct
        {
            const char *name;
            std::optional<std::chrono::seconds> told;
            std::chrono::seconds kept;
        } rows[] = {{"as told", 30s, 30s}, {"not told", {}, 60s}, {"far too long", 24h, 900s}};
        forEachRow(rows, [this](const auto &row) {
            const auto shared = health();
            const MarketService service(*http, Endpoints::live(), shared);
            const StockMarketService stock(*http, clock, Endpoints::live(), shared);
            const auto ask = [&] {
                // Gate.io refuses all that it serves, to every instrument; Binance's other host does not.
                const auto price = QCoro::waitFor(service.fetchPrice(u"BTC"_s));
                QCoro::waitFor(service.fetchKlines(u"ETH"_s));
                const auto quote = QCoro::waitFor(stock.fetchQuote(u"sh600519"_s));
                QCoro::waitFor(stock.fetchKlines(u"sh600519"_s));
                return initials() + (price ? u" price"_s : QString()) +
                       (quote.has_value() || quote.error().refusal ? QString() : u" no reason"_s);
            };
            http->answer(gatePrice, "{}", 429, row.told);
            http->failAlways(binancePrice);
            http->failAlways(binancePath);
            http->failAlways(okxPath);
            http->answer(u"/q=sh600519"_s, "", 451, row.told);
            http->answer(stockPath, "{}", 418, row.told);
            QCOMPARE(ask(), u"GBBOSS"_s);
            shared->forgetFailures();
            clock.passSteady(row.kept - 1ms);
            QCOMPARE(ask(), u"BBO"_s);
            clock.passSteady(1ms);
            http->answerAlways(gatePrice, gateTicker(5));
            http->answerAlways(gatePath, gate(30));
            http->answerAlways(stockPath, days(u"sh600519"_s, 30));
            http->answerAlways(u"/q=sh600519"_s, stockQuotes({{"sh600519", "M", 5, 1}}));
            QVERIFY(ask().endsWith(u"SS price"_s));
        });
    }

    void theServicesMayGoFirst()
    {
        http->hold(priceOf(u"BTC"_s));
        http->hold(gatePath);
        http->hold(stockPath);
        http->hold(u"/q=sh600519"_s);
        http->answer(binancePrice, binanceTicker(7));
        http->answer(binancePath, binance(25));
        auto mortal = std::make_unique<MarketService>(crypto());
        auto mortalStocks = std::make_unique<StockMarketService>(stocks());
        auto prices = mortal->fetchPricesConcurrently({u"BTC"_s});
        auto candles = mortal->fetchKlines(u"BTC"_s);
        auto rows = mortalStocks->fetchKlines(u"SH600519"_s);
        auto quote = mortalStocks->fetchQuote(u"SH600519"_s);
        mortal.reset();
        mortalStocks.reset();
        http->releaseFailure(priceOf(u"BTC"_s));
        http->releaseFailure(gatePath);
        http->release(stockPath, days(u"sh600519"_s, 25));
        http->release(u"/q=sh600519"_s, stockQuotes({{"sh600519", "M", 5, 1}}));
        QCOMPARE(QCoro::waitFor(prices).at(0).price, std::optional(7.0));
        QCOMPARE(QCoro::waitFor(candles)->front().o, 200.0);
        QVERIFY(QCoro::waitFor(rows));
        QVERIFY(QCoro::waitFor(quote));
    }

    void searchesAskByText()
    {
        const QString question = u"/s3/?v=2&q=%E6%8B%9B%26&t=all"_s;
        http->answer(question, "v_hint=\"sh~600036~\\u62db~zsyh~GP-A\";");
        QCOMPARE(QCoro::waitFor(stocks().search(MarketSegment::cn, u" 招& "_s))->front().symbol,
                 u"sh600036"_s);
        QCOMPARE(QString::fromLatin1(http->requests().front().url.toEncoded()),
                 u"https://smartbox.gtimg.cn"_s + question);
        for (const QByteArray &body : {QByteArray(), QByteArray("<html>")}) {
            body.isEmpty() ? http->fail(question) : http->answer(question, body, 429);
            const auto result = QCoro::waitFor(stocks().search(MarketSegment::cn, u"招&"_s));
            QCOMPARE(result.error().message, u"搜索失败，可直接输入代码"_s);
            QCOMPARE(result.error().refusal.has_value(), !body.isEmpty());
        }
        http->clearRequests();
        QVERIFY(QCoro::waitFor(stocks().search(MarketSegment::cn, u"  "_s))->empty());
        QVERIFY(http->requests().empty());
    }

    void theListOfContractsIsKeptForAnHour()
    {
        const MarketService market = crypto();
        const StockMarketService shares = stocks();
        const InstrumentSearch search(market, shares, clock);
        http->hold(gatePrice);
        auto first = search.crypto();
        auto second = search.crypto(); // asks nothing of its own
        http->release(gatePrice, R"([{"contract":"A_USDT","last":"1"}])");
        QVERIFY(QCoro::waitFor(first)->size() == 1 && QCoro::waitFor(second)->size() == 1);
        clock.advance(59min);
        for (int i = 0; i < 2; ++i)
            QCOMPARE(QCoro::waitFor(search.crypto())->front().symbol, u"A"_s);
        QCOMPARE(initials(), u"G"_s);
        clock.advance(1min);
        http->fail(gatePrice);
        http->fail(binancePrice);
        QVERIFY(QCoro::waitFor(search.crypto()).error() == searchFailure());
        clock.advance(1min); // both were left alone for a while
        http->fail(gatePrice);
        http->answer(binancePrice, R"([{"symbol":"BUSDT","lastPrice":"1"}])");
        QCOMPARE(QCoro::waitFor(search.crypto())->front().symbol, u"B"_s);

        http->answer(priceOf(u"C"_s), gateTicker(5));
        QVERIFY(QCoro::waitFor(search.answers(MarketSegment::crypto, u"C"_s)));
        http->answer(u"/q=sh600036"_s, "v_pv_none_match=\"1\";");
        QVERIFY(!QCoro::waitFor(search.answers(MarketSegment::cn, u"sh600036"_s)));
    }

    void contractsAreRankedByPlaceAndTurnover()
    {
        const FoundList list{{u"XPE"_s, {}, 50}, {u"PEPE2"_s, {}, 1}, {u"BTC"_s, {}, 99}, {u"PEPE"_s, {}, 9}};
        const auto ranked = [&list](const QString &text) {
            QStringList symbols;
            for (const Found &each : matching(list, text))
                symbols << each.symbol;
            return symbols.join(u' ');
        };
        QCOMPARE(ranked(u"pe"_s), u"PEPE PEPE2 XPE"_s);
        QCOMPARE(ranked(u"pepe_usdt"_s), u"PEPE PEPE2"_s);
        QCOMPARE(ranked({}), u"BTC XPE PEPE PEPE2"_s);
        QCOMPARE(ranked(u"-"_s), QString());
    }

    void theClientMayGoAway()
    {
        http->hold(priceOf(u"BTC"_s));
        http->hold(gatePath);
        auto prices = crypto().fetchPricesConcurrently({u"BTC"_s});
        auto candles = crypto().fetchKlines(u"BTC"_s);
        http.reset();
        QVERIFY(!QCoro::waitFor(prices).at(0).price);
        QCOMPARE(QCoro::waitFor(candles).error().code, 2);
    }
};

KESTRUNE_TEST(ServicesTest)
#include "tst_services.moc"
