// SPDX-License-Identifier: MIT
#include "market/answers.h"
#include "market/candleparsers.h"
#include "market/stockparsers.h"
#include "support/testregistry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <cmath>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

using CandleParser = std::optional<CandleList> (*)(const QByteArray &);

std::optional<CandleList> parseMoutai(const QByteArray &body)
{
    const auto result = parseStockCandles(body, u"sh600519"_s, u"day"_s);
    return result ? std::optional(*result) : std::nullopt;
}

std::optional<CandleList> parseTencent(const QByteArray &body)
{
    const auto result = parseStockCandles(body, u"hk00700"_s, u"day"_s);
    return result ? std::optional(*result) : std::nullopt;
}

/// 25 plain rows and one more that is put in front.
QByteArray withRow(QByteArray body, const QByteArray &row)
{
    return body.replace("[[", "[" + row + ",[");
}

/// `count` rows of which the first is made unusable.
QByteArray oneUnusable(QByteArray body)
{
    return body.replace(body.indexOf(",\"103\","), 7, ",null,");
}

QByteArray nested(int depth)
{
    return QByteArray(depth, '[') + QByteArray(depth, ']');
}

} // namespace

Q_DECLARE_METATYPE(CandleParser)

class CandleParsersTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fixtures_data();
    void fixtures();
    void twentyFiveRowsAreEnough();
    void damagedBodiesFailTheirSource_data();
    void damagedBodiesFailTheirSource();
    void otherLayoutsFailTheirSource_data();
    void otherLayoutsFailTheirSource();
    void times_data();
    void times();
    void tickers_data();
    void tickers();
};

void CandleParsersTest::fixtures_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<CandleParser>("parse");
    QTest::newRow("Gate.io") << u"gate/candlesticks"_s << CandleParser{parseGateCandles};
    QTest::newRow("Binance") << u"binance/klines"_s << CandleParser{parseBinanceCandles};
    QTest::newRow("OKX") << u"okx/candles"_s << CandleParser{parseOkxCandles};
    QTest::newRow("Tencent, adjusted") << u"tencent/sh600519-day"_s << CandleParser{parseMoutai};
    QTest::newRow("Tencent, plain") << u"tencent/hk00700-day"_s << CandleParser{parseTencent};
}

void CandleParsersTest::fixtures()
{
    QFETCH(QString, name);
    QFETCH(CandleParser, parse);
    const QJsonArray expected = QJsonDocument::fromJson(dataFile(name + u".out.json"_s)).array();
    QVERIFY(expected.size() >= 25);
    const auto candles = parse(dataFile(name + u".in.json"_s));
    QVERIFY(candles);
    QCOMPARE(static_cast<qsizetype>(candles->size()), expected.size());
    for (qsizetype i = 0; i < expected.size(); ++i) {
        const Candle &candle = (*candles)[static_cast<std::size_t>(i)];
        const QJsonArray actual{candle.ts, candle.o, candle.h, candle.l, candle.c, candle.v};
        QCOMPARE(actual, expected[i].toArray());
    }
}

void CandleParsersTest::twentyFiveRowsAreEnough()
{
    QCOMPARE(parseGateCandles(gateCandles(25)).value_or(CandleList()).size(), std::size_t{25});
    QVERIFY(!parseGateCandles(gateCandles(24)));
    // One of 25 is lost: low above high.
    QVERIFY(!parseGateCandles(gateCandles(25).replace(R"("102","97","99")", R"("97","102","99")")));
    QVERIFY(!parseBinanceCandles(oneUnusable(binanceCandles(25, 104))));
    QVERIFY(parseBinanceCandles(oneUnusable(binanceCandles(26, 104))));
    QVERIFY(!parseOkxCandles(oneUnusable(okxCandles(25, 104))));
}

void CandleParsersTest::damagedBodiesFailTheirSource_data()
{
    QTest::addColumn<QByteArray>("unread"); // stands where no parser looks
    QTest::addColumn<bool>("good");
    QTest::newRow("undamaged") << QByteArray("null") << true;
    QTest::newRow("nested a hundred deep") << nested(100) << true;
    QTest::newRow("nested ten thousand deep") << nested(10'000) << false;
    QTest::newRow("a NaN literal") << QByteArray("NaN") << false;
    QTest::newRow("an Infinity literal") << QByteArray("-Infinity") << false;
    QTest::newRow("an integer beyond 64 bits") << QByteArray("99999999999999999999999") << false;
    QTest::newRow("a number beyond doubles") << QByteArray("1e999") << false;
    QTest::newRow("broken UTF-8") << QByteArray("\"\xff\"") << false;
    QTest::newRow("a bare line break in a text") << QByteArray("\"\n\"") << false;
    QTest::newRow("single quotation marks") << QByteArray("'a'") << false;
    QTest::newRow("above 128 KiB") << '"' + QByteArray(300'000, 'x') + '"' << true;
    QTest::newRow("above 4 MiB") << '"' + QByteArray(4 * 1024 * 1024, 'x') + '"' << false;
}

void CandleParsersTest::damagedBodiesFailTheirSource()
{
    QFETCH(QByteArray, unread);
    QFETCH(bool, good);
    const auto damaged = [&](QByteArray body) { return body.replace("\"unread\"", unread); };
    QCOMPARE(parseGateCandles(damaged(gateCandles(30))).has_value(), good);
    QCOMPARE(parseBinanceCandles(damaged(binanceCandles(30))).has_value(), good);
    QCOMPARE(parseOkxCandles(damaged(okxCandles(30))).has_value(), good);
    QCOMPARE(parseGateTicker(damaged(gateTicker(5))).has_value(), good);
    QCOMPARE(parseBinanceTicker(damaged(binanceTicker(5))).has_value(), good);
    QCOMPARE(parseMoutai(damaged(stockCandles(u"sh600519"_s, u"day"_s, 30))).has_value(), good);
    // What the last body left behind does not leak into the next.
    QVERIFY(parseGateCandles(gateCandles(30)));
}

void CandleParsersTest::otherLayoutsFailTheirSource_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("a number") << QByteArray("5");
    QTest::newRow("an empty array") << QByteArray("[]");
    QTest::newRow("an empty object") << QByteArray("{}");
    QTest::newRow("an error object") << QByteArray(R"({"code":-1121,"msg":"Invalid symbol."})");
    QTest::newRow("data that is no array") << QByteArray(R"({"code":"0","data":{"0":[]}})");
    QTest::newRow("cut off") << gateCandles(30).chopped(1);
    QTest::newRow("something behind the end") << binanceCandles(30) + "]";
    QTest::newRow("a text among the rows") << withRow(gateCandles(30), "\"x\"");
    QTest::newRow("an object among the rows") << withRow(binanceCandles(30), "{}");
    QTest::newRow("a null among the data rows") << withRow(okxCandles(30), "null");
    QTest::newRow("a million empty rows") << "[[]" + QByteArray(",[]").repeated(1'000'000) + "]";
    QTest::newRow("a ticker list of arrays") << QByteArray(R"([["last","5"]])");
    QTest::newRow("a ticker list with a stray entry") << gateTicker(5).chopped(1) + ",null]";
    QTest::newRow("tickers without a price") << QByteArray(R"([{"change_percentage":"1","last":null}])");
    QTest::newRow("a ticker without a price") << QByteArray(R"({"priceChangePercent":"1","lastPrice":" 5"})");
}

void CandleParsersTest::otherLayoutsFailTheirSource()
{
    QFETCH(QByteArray, body);
    QVERIFY(!parseGateCandles(body));
    QVERIFY(!parseBinanceCandles(body));
    QVERIFY(!parseOkxCandles(body));
    QVERIFY(!parseGateTicker(body));
    QVERIFY(!parseBinanceTicker(body));
    QVERIFY(!parseMoutai(body));
}

void CandleParsersTest::times_data()
{
    QTest::addColumn<QByteArray>("time");
    QTest::addColumn<QString>("gate");
    QTest::addColumn<QString>("binance");
    QTest::addColumn<QString>("okx");
    const auto row = [](const char *name, const QByteArray &time, const char *gate, const char *binance,
                        const char *okx) {
        QTest::newRow(name) << time << QString::fromLatin1(gate) << QString::fromLatin1(binance)
                            << QString::fromLatin1(okx);
    };
    row("text", R"("1700000000")", "1700000000000", "skipped", "1700000000");
    row("integer", "1700000000", "1700000000000", "1700000000", "1700000000");
    row("with an exponent", "1.7e9", "1700000000000", "1700000000", "1700000000");
    row("a fraction", "1.9", "1000", "skipped", "1");
    row("a negative fraction", R"("-1.9")", "-1000", "skipped", "-1");
    row("fits until it is milliseconds", "9223372036854775807", "skipped", "9223372036854775807", "skipped");
    row("unsigned beyond 64 bits", "9223372036854775808", "skipped", "skipped", "skipped");
    row("two to the 63rd as a double", "9.223372036854775808e18", "skipped", "skipped", "skipped");
    row("its negative fits", "-9.223372036854775808e18", "skipped", "-9223372036854775808",
        "-9223372036854775808");
    row("infinite", R"("inf")", "skipped", "skipped", "skipped");
    row("true", "true", "skipped", "skipped", "skipped");
    row("null", "null", "skipped", "skipped", "skipped");
}

void CandleParsersTest::times()
{
    QFETCH(QByteArray, time);
    const auto spelled = [](const std::optional<CandleList> &candles, bool newestFirst) {
        if (!candles || candles->size() != 26)
            return u"skipped"_s;
        return QString::number((newestFirst ? candles->back() : candles->front()).ts);
    };
    QTEST(spelled(parseGateCandles(withRow(gateCandles(25), '[' + time + R"(,"9","2","3","1","2","5"])")),
                  false),
          "gate");
    const QByteArray row = '[' + time + R"(,"2","3","1","2","5"])";
    QTEST(spelled(parseBinanceCandles(withRow(binanceCandles(25), row)), false), "binance");
    QTEST(spelled(parseOkxCandles(withRow(okxCandles(25), row)), true), "okx");
}

void CandleParsersTest::tickers_data()
{
    QTest::addColumn<QByteArray>("price"); // as JSON; empty for no key
    QTest::addColumn<QByteArray>("change");
    QTest::addColumn<double>("expectedPrice");
    QTest::addColumn<QString>("expectedChange");
    QTest::newRow("numbers") << QByteArray("4") << QByteArray("2.35") << 4.0 << u"2.35"_s;
    QTest::newRow("no change") << QByteArray("\"4\"") << QByteArray() << 4.0 << u"none"_s;
    QTest::newRow("an unreadable change")
        << QByteArray("\"4\"") << QByteArray("\"2.35%\"") << 4.0 << u"none"_s;
    QTest::newRow("a negative price") << QByteArray("-4") << QByteArray("true") << -4.0 << u"none"_s;
    QTest::newRow("a price of zero") << QByteArray("\"0\"") << QByteArray("\"+1\"") << 0.0 << u"1"_s;
}

void CandleParsersTest::tickers()
{
    QFETCH(QByteArray, price);
    QFETCH(QByteArray, change);
    const auto ticker = [&](const QByteArray &priceKey, const QByteArray &changeKey) {
        return R"({")" + priceKey + "\":" + price +
               (change.isEmpty() ? "" : ",\"" + changeKey + "\":" + change) + '}';
    };
    const auto check = [&](const std::optional<PriceResult> &result) {
        QVERIFY(result);
        QTEST(result->price, "expectedPrice");
        QTEST(result->change ? QString::number(*result->change) : u"none"_s, "expectedChange");
    };
    check(parseGateTicker('[' + ticker("last", "change_percentage") + R"(,{"last":"1"}])"));
    check(parseBinanceTicker(ticker("lastPrice", "priceChangePercent")));
}

KESTRUNE_TEST(CandleParsersTest)

#include "tst_candleparsers.moc"
