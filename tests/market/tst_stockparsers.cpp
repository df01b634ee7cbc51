// SPDX-License-Identifier: MIT
#include "market/answers.h"
#include "market/stockparsers.h"
#include "platform/textdecoding.h"
#include "support/testregistry.h"

#include <QTest>

#include <algorithm>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

const Instant parsedAt{std::chrono::seconds{1'790'000'000}};

/// A complete quote with some fields replaced.
QString pieceWith(const std::vector<std::pair<int, QString>> &changes)
{
    QStringList fields = quoteFields();
    for (const auto &[position, text] : changes)
        fields[position] = text;
    return quotePiece(u"v_sh600519"_s, fields);
}

StockQuote quoteWith(const std::vector<std::pair<int, QString>> &changes)
{
    return parseQuotes(pieceWith(changes), parsedAt).value(u"sh600519"_s);
}

QStringList keysOf(const QString &text)
{
    QStringList keys = parseQuotes(text, parsedAt).keys();
    std::ranges::sort(keys);
    return keys;
}

} // namespace

class StockParsersTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void anAnswerForSeveralCodes();
    void piecesAndKeys_data();
    void piecesAndKeys();
    void unusablePiecesAreSkipped_data();
    void unusablePiecesAreSkipped();
    void missingFieldsHaveFallbacks();
    void limitsAreForTheTwoMainlandMarkers();
    void closeToALimitIsAtTheLimit();
    void candleErrors_data();
    void candleErrors();
};

void StockParsersTest::anAnswerForSeveralCodes()
{
    const auto quotes = parseQuotes(decodeGb18030(dataFile(u"tencent/quotes.gb18030.txt"_s)), parsedAt);
    QCOMPARE(quotes.size(), 3);

    const StockQuote moutai = quotes.value(u"sh600519"_s);
    QCOMPARE(moutai.symbol, u"sh600519"_s);
    QCOMPARE(moutai.name, u"贵州茅台"_s);
    QCOMPARE(moutai.price, 1402.5);
    QCOMPARE(moutai.prevClose, 1398.0);
    QCOMPARE(moutai.open, 1399.99);
    QCOMPARE(moutai.volume, 21345.0);
    QCOMPARE(moutai.change, 4.5);
    QCOMPARE(moutai.changePct, 0.32);
    QCOMPARE(moutai.high, 1410.0);
    QCOMPARE(moutai.low, 1391.2);
    QCOMPARE(moutai.limitUp, std::optional(1537.8));
    QCOMPARE(moutai.limitDown, std::optional(1258.2));
    QVERIFY(moutai.updatedAt == parsedAt);

    QCOMPARE(quotes.value(u"sz000001"_s).limitDown, std::optional(10.37));
    QCOMPARE(quotes.value(u"hk00700"_s).name, u"腾讯控股"_s);
    QVERIFY(!quotes.value(u"hk00700"_s).limitDown); // its field 48 is the year's high
}

void StockParsersTest::piecesAndKeys_data()
{
    QTest::addColumn<QString>("text"); // @ stands for a whole value
    QTest::addColumn<QStringList>("keys");
    QTest::newRow("line breaks behind the separators")
        << u"v_sh1=@;\nv_sz2=@;\r\n\nv_hk3=@;\n"_s << QStringList{u"hk3"_s, u"sh1"_s, u"sz2"_s};
    QTest::newRow("blanks round key and value") << u"; \tv_sh1\t = \t@ "_s << QStringList{u"sh1"_s};
    QTest::newRow("a line break that follows a blank belongs to the key")
        << u"v_sh1=@; \nv_sz2=@"_s << QStringList{u"\nsz2"_s, u"sh1"_s};
    QTest::newRow("a line break before the first key too") << u"\nv_sh1=@"_s << QStringList{u"\nsh1"_s};
    QTest::newRow("capitals and every v_") << u"v_R_v_HK00700=@"_s << QStringList{u"r_hk00700"_s};
    QTest::newRow("no key") << u"=@"_s << QStringList();
    QTest::newRow("no equals sign") << u"v_sh1@"_s << QStringList();
    QTest::newRow("no value") << u"v_sh1=;v_sz2=@"_s << QStringList{u"sz2"_s};
    QTest::newRow("nothing but separators") << u";;;\n;"_s << QStringList();
}

void StockParsersTest::piecesAndKeys()
{
    QFETCH(QString, text);
    text.replace(u"@"_s, u'"' + quoteFields().join(u'~') + u'"');
    QTEST(keysOf(text), "keys");
}

void StockParsersTest::unusablePiecesAreSkipped_data()
{
    QTest::addColumn<QString>("piece");
    QTest::newRow("34 fields") << quotePiece(u"v_sh600519"_s, quoteFields().first(34));
    QTest::newRow("a price of zero") << pieceWith({{3, u"0"_s}});
    QTest::newRow("an infinite price") << pieceWith({{3, u"inf"_s}});
    QTest::newRow("no previous close") << pieceWith({{4, QString()}});
    QTest::newRow("no open") << pieceWith({{5, u"-"_s}});
    QTest::newRow("an unknown code") << u"v_pv_none_match=\"1\""_s;
}

void StockParsersTest::unusablePiecesAreSkipped()
{
    QFETCH(QString, piece);
    // Neither lost by its neighbours nor replacing the quote that came before.
    const QString good = pieceWith({{6, u"77"_s}});
    const auto quotes = parseQuotes(good + u';' + piece + u";v_hk1"_s + good.mid(10), parsedAt);
    QCOMPARE(quotes.size(), 2);
    QCOMPARE(quotes.value(u"sh600519"_s).volume, 77.0);
    QVERIFY(parseQuotes(piece, parsedAt).isEmpty());
}

void StockParsersTest::missingFieldsHaveFallbacks()
{
    const auto bare = [](const QString &price, const QString &open, const QString &prevClose) {
        return quoteWith(
            {{3, price}, {5, open}, {4, prevClose}, {6, {}}, {31, {}}, {32, {}}, {33, {}}, {34, {}}});
    };
    const StockQuote risen = bare(u"110"_s, u"90"_s, u"100"_s);
    QCOMPARE(risen.high, 110.0);
    QCOMPARE(risen.low, 90.0);
    QCOMPARE(risen.volume, 0.0);
    QCOMPARE(risen.change, 10.0);
    QCOMPARE(risen.changePct, 10.0);
    const StockQuote fallen = bare(u"80"_s, u"90"_s, u"0"_s);
    QCOMPARE(fallen.high, 90.0);
    QCOMPARE(fallen.low, 80.0);
    QCOMPARE(fallen.change, 80.0);
    QCOMPARE(fallen.changePct, 0.0);
    // 35 fields are enough; the limits are simply not there.
    const auto shortest = parseQuotes(quotePiece(u"v_sh600519"_s, quoteFields().first(35)), parsedAt);
    QCOMPARE(shortest.value(u"sh600519"_s).low, 97.0);
    QVERIFY(!shortest.value(u"sh600519"_s).limitUp);
}

void StockParsersTest::limitsAreForTheTwoMainlandMarkers()
{
    QCOMPARE(quoteWith({{0, u"51"_s}}).limitUp, std::optional(107.8));
    QCOMPARE(quoteWith({}).limitDown, std::optional(88.2));
    for (const QString &marker : {u"100"_s, u"01"_s, u"1 "_s, QString()}) {
        const StockQuote quote = quoteWith({{0, marker}});
        QVERIFY(!quote.limitUp && !quote.limitDown);
        QCOMPARE(quote.price, 100.0);
    }
    for (const QString &none : {QString(), u"0"_s, u"-1"_s, u"nan"_s}) {
        const StockQuote quote = quoteWith({{47, none}});
        QVERIFY(!quote.limitUp && quote.limitDown);
    }
}

void StockParsersTest::closeToALimitIsAtTheLimit()
{
    StockQuote quote;
    quote.limitUp = 1850.00;
    quote.limitDown = 10.00;
    const auto at = [&](double price) {
        quote.price = price;
        return std::pair(quote.isLimitUp(), quote.isLimitDown());
    };
    QCOMPARE(at(1849.9999995), std::pair(true, false));
    QCOMPARE(at(1850.01), std::pair(true, false));
    QCOMPARE(at(1849.99), std::pair(false, false));
    QCOMPARE(at(10.0000005), std::pair(false, true));
    QCOMPARE(at(10.01), std::pair(false, false));
    quote.limitUp.reset();
    quote.limitDown = -5;
    QCOMPARE(at(-6), std::pair(false, false));
}

void StockParsersTest::candleErrors_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("code");
    const auto stock = [](const char *key, int count) {
        return stockCandles(u"hk00700"_s, QString::fromLatin1(key), count);
    };
    const QByteArray plain = stock("week", 30);
    QTest::newRow("not JSON") << QByteArray("<html>") << 3;
    QTest::newRow("no data") << QByteArray(R"({"code":1,"msg":"bad params"})") << 3;
    QTest::newRow("data that is no object") << QByteArray(R"({"code":0,"data":[]})") << 3;
    QTest::newRow("another code") << stockCandles(u"hk00001"_s, u"week"_s, 30) << 3;
    QTest::newRow("a stock that is no object") << QByteArray(R"({"data":{"hk00700":[]}})") << 3;
    QTest::newRow("another period") << stock("qfqday", 30) << 4;
    QTest::newRow("rows that are no array") << QByteArray(R"({"data":{"hk00700":{"week":"x"}}})") << 4;
    QTest::newRow("24 rows") << stock("qfqweek", 24) << 4;
    QTest::newRow("25 rows") << stock("qfqweek", 25) << 0;
    QTest::newRow("plain rows serve where there are no adjusted ones") << plain << 0;
    QTest::newRow("an empty adjusted list is a list")
        << QByteArray(plain).replace("{\"week", "{\"qfqweek\":[],\"week") << 4;
    QTest::newRow("adjusted rows that are no array give way")
        << QByteArray(plain).replace("{\"week", "{\"qfqweek\":{},\"week") << 0;
    QTest::newRow("ten of 30 dates unreadable") << QByteArray(plain).replace("2024-01-1", "2024-1-1") << 5;
    QTest::newRow("rows of another kind are skipped one by one")
        << QByteArray(plain).replace("[[", "[null,\"x\",{},[],[20240101,1,1,1,1,1],[") << 0;
    QTest::newRow("25 rows of which one is odd") << stock("week", 24).replace("[[", "[null,[") << 5;
}

void StockParsersTest::candleErrors()
{
    QFETCH(QByteArray, body);
    QFETCH(int, code);
    const auto result = parseStockCandles(body, u"hk00700"_s, u"week"_s);
    const QStringList messages{{}, {}, {}, u"K线返回结构异常"_s, u"K线数据不足"_s, u"K线有效数据不足"_s};
    QCOMPARE(result.has_value(), code == 0);
    if (!result)
        QVERIFY((result.error() == ServiceError{code, messages[code]}));
}

KESTRUNE_TEST(StockParsersTest)

#include "tst_stockparsers.moc"
