// SPDX-License-Identifier: MIT
#include "market/answers.h"
#include "market/stockmarketservice.h"
#include "support/fakeclock.h"
#include "support/fakehttpclient.h"
#include "support/testregistry.h"

#include <QTest>

#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

const QString quotePath = u"qt.gtimg.cn/q=sh600519,hk00700"_s;
const QString candlePath = u"web.ifzq.gtimg.cn/appstock/app/fqkline/get"_s;

} // namespace

class StockMarketServiceTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { http = std::make_unique<FakeHttpClient>(); }
    void quotesOfSeveralCodes();
    void oneQuote();
    void quotesNeverFail();
    void candles();
    void candleFailures();
    void theServiceMayGoFirst();

private:
    [[nodiscard]] StockMarketService service() { return {*http, clock, Endpoints::live()}; }
    void verifyReferer() const
    {
        for (const auto &request : http->requests()) {
            QCOMPARE(request.url.scheme(), u"https"_s);
            QCOMPARE(request.headers.size(), std::size_t{1});
            QCOMPARE(request.header("Referer"), QByteArray("https://gu.qq.com/"));
        }
    }

    FakeClock clock;
    std::unique_ptr<FakeHttpClient> http;
};

void StockMarketServiceTest::quotesOfSeveralCodes()
{
    http->answer(quotePath, dataFile(u"tencent/quotes.gb18030.txt"_s));
    const QStringList codes{u"SH600519"_s, u"hk00700"_s};
    const auto quotes = QCoro::waitFor(service().fetchQuotes(codes));
    QCOMPARE(http->lines(), QStringList{u"/q=sh600519,hk00700"_s});
    QCOMPARE(quotes.size(), 3);
    QCOMPARE(quotes.value(u"sh600519"_s).name, u"贵州茅台"_s);
    QVERIFY(quotes.value(u"hk00700"_s).updatedAt == clock.now());
    verifyReferer();
    KESTRUNE_VERIFY_HTTP(*http);
}

void StockMarketServiceTest::oneQuote()
{
    http->answer(u"/q=sz000001"_s, dataFile(u"tencent/quotes.gb18030.txt"_s));
    const auto quote = QCoro::waitFor(service().fetchQuote(u"SZ000001"_s));
    QVERIFY(quote);
    QCOMPARE(quote->price, 11.43);

    http->answer(u"/q=sz000002"_s, dataFile(u"tencent/quotes.gb18030.txt"_s));
    QVERIFY(!QCoro::waitFor(service().fetchQuote(u"sz000002"_s)));
    KESTRUNE_VERIFY_HTTP(*http);
}

void StockMarketServiceTest::quotesNeverFail()
{
    const QStringList none;
    QVERIFY(QCoro::waitFor(service().fetchQuotes(none)).isEmpty());
    const QStringList invalid{u"sh600519"_s, u"茅台"_s};
    QVERIFY(QCoro::waitFor(service().fetchQuotes(invalid)).isEmpty());
    QVERIFY(http->requests().empty());

    const QStringList codes{u"sh600519"_s, u"hk00700"_s};
    http->fail(quotePath);
    QVERIFY(QCoro::waitFor(service().fetchQuotes(codes)).isEmpty());
    http->answer(quotePath, "v_pv_none_match=\"1\";\n");
    QVERIFY(QCoro::waitFor(service().fetchQuotes(codes)).isEmpty());
    http->answer(quotePath, "v_sh600519=\"1~\xff\xff~\";"); // neither GB 18030 nor UTF-8
    QVERIFY(QCoro::waitFor(service().fetchQuotes(codes)).isEmpty());
    KESTRUNE_VERIFY_HTTP(*http);
}

void StockMarketServiceTest::candles()
{
    http->answer(candlePath, stockCandles(u"sh600519"_s, u"qfqday"_s, 30));
    http->answer(candlePath, stockCandles(u"hk00700"_s, u"qfqweek"_s, 26));
    const auto days = QCoro::waitFor(service().fetchKlines(u"SH600519"_s));
    const auto weeks = QCoro::waitFor(service().fetchKlines(u"hk00700"_s, u"week"_s, 160));
    QVERIFY(days && weeks);
    QCOMPARE(days->size(), std::size_t{30});
    QCOMPARE(weeks->size(), std::size_t{26});
    const QStringList expected{u"/appstock/app/fqkline/get?param=sh600519,day,,,320,qfq"_s,
                               u"/appstock/app/fqkline/get?param=hk00700,week,,,160,qfq"_s};
    QCOMPARE(http->lines(), expected);
    verifyReferer();
    KESTRUNE_VERIFY_HTTP(*http);
}

void StockMarketServiceTest::candleFailures()
{
    const auto failure = [&](const QString &code) {
        const auto result = QCoro::waitFor(service().fetchKlines(code));
        return result ? ServiceError{-1, {}} : result.error();
    };
    QVERIFY((failure(u"茅台"_s) == ServiceError{2, u"K线地址无效"_s}));
    QVERIFY(http->requests().empty());
    http->fail(candlePath);
    QVERIFY((failure(u"sh600519"_s) == ServiceError{0, {}})); // the transfer's own
    http->answer(candlePath, stockCandles(u"sh600519"_s, u"qfqday"_s, 24));
    QVERIFY((failure(u"sh600519"_s) == ServiceError{4, u"K线数据不足"_s}));
    KESTRUNE_VERIFY_HTTP(*http);
}

void StockMarketServiceTest::theServiceMayGoFirst()
{
    http->hold(candlePath);
    http->hold(u"/q=sh600519"_s);
    auto mortal = std::make_unique<StockMarketService>(*http, clock, Endpoints::live());
    auto rows = mortal->fetchKlines(u"SH600519"_s);
    auto quote = mortal->fetchQuote(u"SH600519"_s);
    mortal.reset();
    http->release(candlePath, stockCandles(u"sh600519"_s, u"day"_s, 25));
    http->release(u"/q=sh600519"_s, quotePiece(u"v_sh600519"_s, quoteFields()).toLatin1());
    QVERIFY(QCoro::waitFor(rows));
    QVERIFY(QCoro::waitFor(quote));
    KESTRUNE_VERIFY_HTTP(*http);
}

KESTRUNE_TEST(StockMarketServiceTest)

#include "tst_stockmarketservice.moc"
