// SPDX-License-Identifier: MIT
#include "market/candleparsers.h"
#include "market/jsonnumber.h"
#include "market/quoteparser.h"
#include "market/searchparsers.h"
#include "platform/textdecoding.h"
#include "support/marketbodies.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <array>
#include <cmath>
#include <limits>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class ParsersTest : public QObject
{
    Q_OBJECT

    using Candles = std::optional<CandleList>;

    static Candles parseStock(const QByteArray &body)
    {
        const auto result = parseStockCandles(body, u"sh600519"_s, u"day"_s);
        return result ? Candles(*result) : std::nullopt;
    }
    static Candles parsePlain(const QByteArray &body)
    {
        const auto result = parseStockCandles(body, u"hk00700"_s, u"day"_s);
        return result ? Candles(*result) : std::nullopt;
    }
    static QByteArray gate(std::size_t count) { return gateCandles(waveCandles(count, 100)); }
    static QByteArray binance(std::size_t count) { return binanceCandles(waveCandles(count, 100)); }
    static QByteArray okx(std::size_t count) { return okxCandles(waveCandles(count, 100)); }
    static QByteArray stock(std::size_t count, const QByteArray &adjusted = "qfq")
    {
        return stockCandles(u"sh600519"_s, u"day"_s, waveCandles(count, 100), adjusted);
    }
    /// The body with this row before its others.
    static QByteArray with(const QByteArray &row, QByteArray body)
    {
        return body.replace("[[", "[" + row + ",[");
    }
    /// The body with this JSON at a place that no parser reads.
    static QByteArray aside(const QByteArray &unread, QByteArray body)
    {
        const bool ofRows = body.contains("[[");
        return body.insert(body.indexOf(ofRows ? ']' : '}'), (ofRows ? "," : ",\"extra\":") + unread);
    }
    static QByteArray nested(int depth) { return QByteArray(depth, '[') + QByteArray(depth, ']'); }
    static QByteArray dataFile(const QString &name)
    {
        QFile file(QStringLiteral(KESTRUNE_SOURCE_DIR "/tests/data/") + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static constexpr Instant parsedAt{std::chrono::seconds{1'790'000'000}};
    using Changes = std::vector<std::pair<int, QString>>;
    /// A complete Shanghai quote: price 100, previous close 98, open 99, limits 107.8 and 88.2.
    static QStringList quoteFields(const Changes &changes = {})
    {
        QStringList fields(50, u"0"_s);
        const Changes known{{0, u"1"_s},    {1, u"Name"_s}, {3, u"100"_s},    {4, u"98"_s},
                            {5, u"99"_s},   {6, u"1234"_s}, {31, u"2.01"_s},  {32, u"2.1"_s},
                            {33, u"101"_s}, {34, u"97"_s},  {47, u"107.8"_s}, {48, u"88.2"_s}};
        for (const Changes &each : {known, changes}) {
            for (const auto &[position, text] : each)
                fields[position] = text;
        }
        return fields;
    }
    static QString piece(const QStringList &fields) { return u"v_sh600519=\""_s + fields.join(u'~') + u'"'; }
    static StockQuote quoteOf(const QStringList &fields)
    {
        return parseQuotes(piece(fields), parsedAt).value(u"sh600519"_s);
    }

private Q_SLOTS:
    void numbers()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        const std::vector<std::pair<QByteArray, double>> literals{
            {"-0.3892", -0.3892},
            {"+2.50", 2.5},
            {"1.5E+3", 1500},
            {"5.", 5},
            {".5", 0.5},
            {"27.17900000000000000000000000000001", 27.179},
            {"4.9e-324", 4.9e-324},
            {"+1e400", infinity},
            {"-1e400", -infinity},
            {"1e-400", 0},
            {"1e99999999999999999999", infinity},
            {"+INFINITY", infinity},
            {"-Inf", -infinity},
            {QByteArray(1'000'000, '7'), infinity},
            {"0." + QByteArray(1'000'000, '0') + "1", 0}};
        for (const auto &[text, value] : literals)
            QVERIFY2(decimalNumber(text.toStdString()) == value, text.left(30).constData());
        QVERIFY(std::isnan(decimalNumber("NaN").value_or(0)));
        for (const char *text :
             {"",    " ",   " 1", "1 ",   "1,5", "1.5.2", "0x10",  "1e",    "e5",           "+", "-", "+-1",
              "-+1", "++1", ".",  "inf ", "1\n", "nanx",  "0x1p3", "1_000", "\xef\xbc\x91", "--"})
            QVERIFY2(!decimalNumber(text), text);
        QVERIFY(!decimalNumber(std::string_view("1\0", 2)));

        const std::array<QStringView, 7> fields{u"1.25", u"", u"inf", u"nan", u"1e400", u"１", u"+3"};
        const std::vector<std::optional<double>> expected{1.25, {}, {}, {}, {}, {}, 3.0, {}};
        for (std::size_t i = 0; i < expected.size(); ++i)
            QCOMPARE(field(fields, i), expected[i]);
    }

    void fixtures()
    {
        const struct
        {
            const char *name;
            Candles (*parse)(const QByteArray &);
        } rows[] = {{"gate/candlesticks", parseGateCandles},
                    {"binance/klines", parseBinanceCandles},
                    {"okx/candles", parseOkxCandles},
                    {"tencent/sh600519-day", parseStock},
                    {"tencent/hk00700-day", parsePlain}};
        forEachRow(rows, [](const auto &row) {
            const QString name = QString::fromLatin1(row.name);
            const auto candles = row.parse(dataFile(name + u".in.json"_s));
            QVERIFY(candles);
            QJsonArray actual;
            for (const Candle &each : *candles)
                actual.append(QJsonArray{each.ts, each.o, each.h, each.l, each.c, each.v});
            QCOMPARE(actual, QJsonDocument::fromJson(dataFile(name + u".out.json"_s)).array());
        });
    }

    void rowsAreCounted()
    {
        const auto gateWith = [](const char *row) { return parseGateCandles(with(row, gate(24))); };
        const auto binanceWith = [](const char *row) { return parseBinanceCandles(with(row, binance(24))); };
        const auto okxWith = [](const char *row) { return parseOkxCandles(with(row, okx(24))); };
        const auto stockWith = [](const char *row) { return parseStock(with(row, stock(24))); };
        const struct
        {
            const char *name;
            Candles found;
            std::size_t count; // 0: too few
        } rows[] = {
            {"25 are enough", parseGateCandles(gate(25)), 25},
            {"24 are not", parseGateCandles(gate(24)), 0},
            {"a flat candle counts", gateWith(R"(["1","9","5","5","5","5","0"])"), 25},
            {"low above high", gateWith(R"(["1","9","5","4","6","5","1"])"), 0},
            {"a price of zero", gateWith(R"(["1","9","5","6","0","5","1"])"), 0},
            {"six entries", gateWith(R"(["1","9","5","5","5","5"])"), 0},
            {"Binance is trusted", binanceWith(R"([1,"5","4","6","5","1"])"), 25},
            {"but for what it leaves out", binanceWith(R"([1,null,"6","4","5","1"])"), 0},
            {"OKX likewise", okxWith(R"(["1",null,"6","4","5","1"])"), 0},
            {"a volume may be missing", okxWith(R"(["1","5","6","4","5",null])"), 25},
            {"an infinite price of a stock", stockWith(R"(["2024-01-01","5","5","inf","4","1"])"), 0},
            {"more entries than are read", stockWith(R"(["2024-01-01","5","5","6","4","1",{},"","",7])"), 25},
        };
        forEachRow(rows, [](const auto &row) { QCOMPARE(row.found ? row.found->size() : 0, row.count); });
    }

    void damagedBodiesFailTheirSource()
    {
        const auto taken = [](const QByteArray &unread) {
            return QList<bool>{parseGateCandles(aside(unread, gate(30))).has_value(),
                               parseBinanceCandles(aside(unread, binance(30))).has_value(),
                               parseOkxCandles(aside(unread, okx(30))).has_value(),
                               parseStock(aside(unread, stock(30))).has_value(),
                               parseGateTicker(aside(unread, gateTicker(5))).has_value(),
                               parseBinanceTicker(aside(unread, binanceTicker(5))).has_value()};
        };
        for (const QByteArray &bad :
             {nested(10'000), QByteArray("NaN"), QByteArray("-Infinity"),
              QByteArray("99999999999999999999999"), QByteArray("1e999"), QByteArray("\"\xff\""),
              QByteArray("\"\n\""), QByteArray("'a'"), '"' + QByteArray(4 * 1024 * 1024, 'x') + '"'}) {
            QVERIFY2(taken(bad) == QList<bool>(6, false), bad.left(30).constData());
            // What it left behind does not leak into the next.
            for (const QByteArray &good :
                 {QByteArray("null"), nested(100), '"' + QByteArray(300'000, 'x') + '"'})
                QVERIFY2(taken(good) == QList<bool>(6, true), good.left(30).constData());
        }
    }

    void otherLayoutsFailTheirSource()
    {
        const QByteArrayList bodies{
            "", "null", "5", "[]", "{}", "<html><body>501</body></html>",
            R"({"label":"INVALID_CURRENCY","message":"Invalid currency X"})",
            R"({"code":-1121,"msg":"Invalid symbol."})",
            R"({"code":"51001","data":[],"msg":"Instrument ID does not exist"})",
            R"({"code":1,"msg":"bad params","data":[]})", R"({"code":"0","data":{"0":[]}})",
            // Cut off, something behind the end, rows of another kind.
            gate(30).chopped(1), binance(30) + "]", with("\"x\"", gate(30)), with("{}", binance(30)),
            with("null", okx(30)), "[[]" + QByteArray(",[]").repeated(1'000'000) + "]",
            // Tickers of another kind or without a price.
            R"([["last","5"]])", gateTicker(5).chopped(1) + ",null]",
            R"([{"change_percentage":"1","last":null}])", R"({"priceChangePercent":"1","lastPrice":" 5"})"};
        for (const QByteArray &body : bodies) {
            const bool failed = !parseGateCandles(body) && !parseBinanceCandles(body) &&
                                !parseOkxCandles(body) && !parseStock(body) && !parseGateTicker(body) &&
                                !parseBinanceTicker(body) &&
                                parseQuotes(QString::fromUtf8(body), parsedAt).isEmpty();
            QVERIFY2(failed, body.left(60).constData());
        }
    }

    void times()
    {
        const struct
        {
            const char *name;
            QByteArray time;
            const char *gate, *binance, *okx; // null where the row is left out
        } rows[] = {
            {"text", R"("1700000000")", "1700000000000", nullptr, "1700000000"},
            {"integer", "1700000000", "1700000000000", "1700000000", "1700000000"},
            {"with an exponent", "1.7e9", "1700000000000", "1700000000", "1700000000"},
            {"a fraction", "1.9", "1000", nullptr, "1"},
            {"a negative fraction", R"("-1.9")", "-1000", nullptr, "-1"},
            {"too large in milliseconds", "9223372036854775807", nullptr, "9223372036854775807", nullptr},
            {"unsigned beyond 64 bits", "9223372036854775808", nullptr, nullptr, nullptr},
            {"two to the 63rd as a double", "9.223372036854775808e18", nullptr, nullptr, nullptr},
            {"its negative", "-9.223372036854775808e18", nullptr, "-9223372036854775808",
             "-9223372036854775808"},
            {"infinite", R"("inf")", nullptr, nullptr, nullptr},
            {"true", "true", nullptr, nullptr, nullptr},
            {"null", "null", nullptr, nullptr, nullptr},
        };
        const auto timeOf = [](const Candles &candles, bool last) {
            if (!candles || candles->size() != 26)
                return QByteArray();
            return QByteArray::number((last ? candles->back() : candles->front()).ts);
        };
        forEachRow(rows, [&](const auto &row) {
            const QByteArray six = '[' + row.time + R"(,"2","3","1","2","5"])";
            const QByteArray seven = '[' + row.time + R"(,"9","2","3","1","2","5"])";
            QCOMPARE(timeOf(parseGateCandles(with(seven, gate(25))), false), QByteArray(row.gate));
            QCOMPARE(timeOf(parseBinanceCandles(with(six, binance(25))), false), QByteArray(row.binance));
            QCOMPARE(timeOf(parseOkxCandles(with(six, okx(25))), true), QByteArray(row.okx));
        });
    }

    void tickers()
    {
        const struct
        {
            const char *name;
            QByteArray price, change; // as JSON; empty for no key
            double expectedPrice;
            std::optional<double> expectedChange;
        } rows[] = {
            {"numbers", "4", "2.35", 4, 2.35},
            {"no change", "\"4\"", "", 4, {}},
            {"an unreadable change", "\"4\"", "\"2.35%\"", 4, {}},
            {"a negative price", "-4", "true", -4, {}},
            {"a price of zero", "\"0\"", "\"+1\"", 0, 1},
        };
        forEachRow(rows, [](const auto &row) {
            const auto ticker = [&](const QByteArray &priceKey, const QByteArray &changeKey) {
                const QByteArray change = row.change.isEmpty() ? "" : ",\"" + changeKey + "\":" + row.change;
                return "{\"" + priceKey + "\":" + row.price + change + '}';
            };
            const auto gate =
                parseGateTicker('[' + ticker("last", "change_percentage") + R"(,{"last":"1"}])");
            for (const auto &found : {gate, parseBinanceTicker(ticker("lastPrice", "priceChangePercent"))}) {
                QVERIFY(found);
                QCOMPARE(found->price, row.expectedPrice);
                QCOMPARE(found->change, row.expectedChange);
            }
        });
    }

    void contractLists()
    {
        const auto spelled = [](const std::optional<FoundList> &found) {
            QStringList parts;
            for (const Found &each : found.value_or(FoundList()))
                parts << each.symbol + u' ' + QString::number(each.turnover);
            return found ? parts.join(u',') : u"none"_s;
        };
        const struct
        {
            const char *name;
            QByteArray entry; // beside a sound one; $ stands for the end of the pair
            QString found;
        } rows[] = {
            {"numbers", R"({"pair":"PEPE$","last":0.00001,"turnover":7.5})", u"PEPE 7.5"_s},
            {"no turnover", R"({"pair":"1000X$","last":"1","turnover":null})", u"1000X 0"_s},
            {"a turnover below zero", R"({"pair":"X$","last":"1","turnover":"-3"})", u"X 0"_s},
            {"no price", R"({"pair":"X$","turnover":"3"})", {}},
            {"a price of zero", R"({"pair":"X$","last":"0"})", {}},
            {"no number", R"({"pair":"X$","last":"nan"})", {}},
            {"another quote", R"({"pair":"X_USDC","last":"1"})", {}},
            {"a date behind", R"({"pair":"X$_251226","last":"1"})", {}},
            {"no code", R"({"pair":"x y$","last":"1"})", {}},
            {"nothing but the quote", R"({"pair":"$","last":"1"})", {}},
            {"no object", R"("X$")", {}},
        };
        forEachRow(rows, [&](const auto &row) {
            const QString expected = row.found.isEmpty() ? u"BTC 9"_s : u"BTC 9,"_s + row.found;
            QByteArray body = R"([{"pair":"BTC$","last":"90000","turnover":"9"},)" + row.entry + ']';
            QByteArray other = body;
            body.replace("$", "_USDT").replace("pair", "contract").replace("turnover", "volume_24h_quote");
            other.replace("$", "USDT").replace("pair", "symbol").replace("turnover", "quoteVolume");
            QCOMPARE(spelled(parseGateContracts(body)), expected);
            QCOMPARE(spelled(parseBinanceContracts(other.replace("last", "lastPrice"))), expected);
        });
        for (const char *failed : {"", "[]", "{}", R"({"label":"X"})", R"([{"contract":"X_USDT"}])"})
            QVERIFY(!parseGateContracts(failed) && !parseBinanceContracts(failed));
    }

    void searchAnswers()
    {
        using enum MarketSegment;
        const struct
        {
            const char *name;
            QString text;
            QString cn, hk; // what is found: codes and names
        } rows[] = {
            {"nothing", u"v_hint=\"N\";\n"_s, {}, {}},
            {"a share of each", u"v_hint=\"sh~600036~\\u62db\\u5546~zsyh~GP-A^hk~01810~\\u5c0f-W~xm~GP\";"_s,
             u"sh600036 招商"_s, u"hk01810 小-W"_s},
            {"kinds that are kept",
             u"v_hint=\"sz~300750~A~a~GP-A-CYB^sh~510300~B~b~ETF^sz~161725~C~c~LOF^sh~000001~D~d~ZS\""_s,
             u"sz300750 A,sh510300 B,sz161725 C,sh000001 D"_s,
             {}},
            {"kinds that are not",
             u"v_hint=\"sh~900901~A~a~GP-B^sh~019547~B~b~ZQ^us~aapl~C~c~GP^hk~HSI~D~d~ZS^hk~00700~E~e~QZ^"
             u"jj~000001~F~f~KJ\";"_s,
             {},
             {}},
            {"more fields", u"v_hint=\"hk~02800~E~e~ETF~x\";"_s, {}, u"hk02800 E"_s},
            {"broken entries",
             u"v_hint=\"sh~60003~A~a~GP-A^sh~600036^~~~~^sh~600036~\\x41~a~GP-A^sh~600036~\\u6~a~GP-A^"
             u"s~h600036~A~a~GP-A^sh~600036~\\ud83d~a~GP-A\";"_s,
             {},
             {}},
            {"marks that nobody sees",
             u"v_hint=\"sh~600036~\\u202e A\\u0007~a~GP-A\";"_s,
             u"sh600036 A"_s,
             {}},
        };
        forEachRow(rows, [](const auto &row) {
            const auto spelled = [&row](MarketSegment segment) {
                QStringList parts;
                for (const Found &each :
                     parseSearchAnswer(row.text, segment).value_or(FoundList{{u"none"_s, {}, 0}}))
                    parts << each.symbol + u' ' + each.name;
                return parts.join(u',');
            };
            QCOMPARE(spelled(cn) + u" | "_s + spelled(hk), row.cn + u" | "_s + row.hk);
        });
        for (const char16_t *broken : {u"", u"v_hint=", u"v_hint=\"", u"v_hint=\"N", u"v_hint=\"N\";alert(1)",
                                       u"v_hint=\"N\";v_hint=\"N\";", u"<html>", u"x_hint=\"N\";"})
            QVERIFY(!parseSearchAnswer(broken, cn));
    }

    void stockErrors()
    {
        const QByteArray plain = stock(30, "");
        const struct
        {
            const char *name;
            QByteArray body;
            int code;
        } rows[] = {
            {"not JSON", "<html>", 3},
            {"no data", R"({"code":1,"msg":"bad params"})", 3},
            {"data that is no object", R"({"code":0,"data":[]})", 3},
            {"another code", QByteArray(plain).replace("sh600519", "sh600518"), 3},
            {"a stock that is no object", R"({"data":{"sh600519":[]}})", 3},
            {"an unknown stock", R"({"code":0,"data":{"sh600519":{"day":[],"qt":{},"prec":"1"}}})", 4},
            {"another period", QByteArray(plain).replace("\"day\"", "\"qfqweek\""), 4},
            {"rows that are no array", R"({"data":{"sh600519":{"day":"x"}}})", 4},
            {"24 rows", stock(24), 4},
            {"25 rows", stock(25), 0},
            {"plain rows serve where there are no adjusted ones", plain, 0},
            {"an empty adjusted list is a list", QByteArray(plain).replace("{\"day", "{\"qfqday\":[],\"day"),
             4},
            {"adjusted rows that are no array give way",
             QByteArray(plain).replace("{\"day", "{\"qfqday\":{},\"day"), 0},
            {"ten of 30 dates unreadable", QByteArray(plain).replace("2025-12-1", "2025-1-1"), 5},
            {"rows of another kind are skipped one by one",
             with("null,\"x\",{},[],[20240101,1,1,1,1,1]", plain), 0},
            {"25 rows of which one is odd", with("null", stock(24)), 5},
        };
        forEachRow(rows, [](const auto &row) {
            const auto result = parseStockCandles(row.body, u"sh600519"_s, u"day"_s);
            const QStringList messages{
                {}, {}, {}, u"K线返回结构异常"_s, u"K线数据不足"_s, u"K线有效数据不足"_s};
            QCOMPARE(result.has_value(), row.code == 0);
            QVERIFY(result || (result.error() == ServiceError{row.code, messages[row.code]}));
        });
    }

    void anAnswerForSeveralCodes()
    {
        const auto quotes = parseQuotes(decodeGb18030(dataFile(u"tencent/quotes.gb18030.txt"_s)), parsedAt);
        QCOMPARE(quotes.size(), 3);
        const StockQuote moutai = quotes.value(u"sh600519"_s);
        QCOMPARE(moutai.symbol, u"sh600519"_s);
        QCOMPARE(moutai.name, u"贵州茅台"_s);
        const std::vector<double> numbers{moutai.price,  moutai.prevClose, moutai.open, moutai.volume,
                                          moutai.change, moutai.changePct, moutai.high, moutai.low};
        QCOMPARE(numbers, (std::vector{1402.5, 1398.0, 1399.99, 21345.0, 4.5, 0.32, 1410.0, 1391.2}));
        QCOMPARE(moutai.limitUp, std::optional(1537.8));
        QCOMPARE(moutai.limitDown, std::optional(1258.2));
        QVERIFY(moutai.updatedAt == parsedAt);
        QCOMPARE(quotes.value(u"sz000001"_s).limitDown, std::optional(10.37));
        QCOMPARE(quotes.value(u"hk00700"_s).name, u"腾讯控股"_s);
        QVERIFY(!quotes.value(u"hk00700"_s).limitDown); // its field 48 is the year's high
    }

    void piecesAndKeys()
    {
        const struct
        {
            const char *name;
            QString text; // @ stands for a whole value
            QStringList keys;
        } rows[] = {
            {"line breaks behind the separators",
             u"v_sh1=@;\nv_sz2=@;\r\n\nv_hk3=@;\n"_s,
             {u"hk3"_s, u"sh1"_s, u"sz2"_s}},
            {"blanks round key and value", u"; \tv_sh1\t = \t@ "_s, {u"sh1"_s}},
            {"a line break that follows a blank belongs to the key",
             u"v_sh1=@; \nv_sz2=@"_s,
             {u"\nsz2"_s, u"sh1"_s}},
            {"a line break before the first key too", u"\nv_sh1=@"_s, {u"\nsh1"_s}},
            {"capitals and every v_", u"v_R_v_HK00700=@"_s, {u"r_hk00700"_s}},
            {"no key", u"=@"_s, {}},
            {"no equals sign", u"v_sh1@"_s, {}},
            {"no value", u"v_sh1=;v_sz2=@"_s, {u"sz2"_s}},
            {"nothing but separators", u";;;\n;"_s, {}},
        };
        forEachRow(rows, [](const auto &row) {
            QString text = row.text;
            text.replace(u"@"_s, u'"' + quoteFields().join(u'~') + u'"');
            QStringList keys = parseQuotes(text, parsedAt).keys();
            keys.sort();
            QCOMPARE(keys, row.keys);
        });
    }

    void unusablePiecesAreSkipped()
    {
        const struct
        {
            const char *name;
            QString text;
        } rows[] = {
            {"34 fields", piece(quoteFields().first(34))},
            {"a price of zero", piece(quoteFields({{3, u"0"_s}}))},
            {"an infinite price", piece(quoteFields({{3, u"inf"_s}}))},
            {"no previous close", piece(quoteFields({{4, {}}}))},
            {"no open", piece(quoteFields({{5, u"-"_s}}))},
            {"an unknown code", u"v_pv_none_match=\"1\""_s},
        };
        forEachRow(rows, [](const auto &row) {
            // Neither lost by its neighbours nor replacing the quote that came before.
            const QString good = piece(quoteFields({{6, u"77"_s}}));
            const auto quotes = parseQuotes(good + u';' + row.text + u";v_hk1"_s + good.mid(10), parsedAt);
            QCOMPARE(quotes.size(), 2);
            QCOMPARE(quotes.value(u"sh600519"_s).volume, 77.0);
            QVERIFY(parseQuotes(row.text, parsedAt).isEmpty());
        });
    }

    void missingFieldsHaveFallbacks()
    {
        const struct
        {
            const char *name;
            QString price, open, prevClose;
            double high, low, change, changePct;
        } rows[] = {{"risen", u"110"_s, u"90"_s, u"100"_s, 110, 90, 10, 10},
                    {"fallen, without a previous close", u"80"_s, u"90"_s, u"0"_s, 90, 80, 80, 0}};
        forEachRow(rows, [](const auto &row) {
            const StockQuote quote = quoteOf(quoteFields({{3, row.price},
                                                          {5, row.open},
                                                          {4, row.prevClose},
                                                          {6, {}},
                                                          {31, {}},
                                                          {32, {}},
                                                          {33, {}},
                                                          {34, {}}}));
            QCOMPARE((std::vector{quote.high, quote.low, quote.change, quote.changePct, quote.volume}),
                     (std::vector{row.high, row.low, row.change, row.changePct, 0.0}));
        });
        // 35 fields are enough; the limits are simply not there.
        const StockQuote shortest = quoteOf(quoteFields().first(35));
        QCOMPARE(shortest.low, 97.0);
        QVERIFY(!shortest.limitUp);
    }

    void limits()
    {
        QCOMPARE(quoteOf(quoteFields({{0, u"51"_s}})).limitUp, std::optional(107.8));
        QCOMPARE(quoteOf(quoteFields()).limitDown, std::optional(88.2));
        for (const QString &marker : {u"100"_s, u"01"_s, u"1 "_s, QString()}) {
            const StockQuote quote = quoteOf(quoteFields({{0, marker}}));
            QVERIFY(!quote.limitUp && !quote.limitDown && quote.price == 100);
        }
        for (const QString &none : {QString(), u"0"_s, u"-1"_s, u"nan"_s}) {
            const StockQuote quote = quoteOf(quoteFields({{47, none}}));
            QVERIFY(!quote.limitUp && quote.limitDown);
        }

        const struct
        {
            const char *name;
            double price;
            bool up, down;
        } rows[] = {{"a millionth below the upper one", 1849.9999995, true, false},
                    {"above it", 1850.01, true, false},
                    {"a step below it", 1849.99, false, false},
                    {"a millionth above the lower one", 10.0000005, false, true},
                    {"a step above it", 10.01, false, false}};
        forEachRow(rows, [](const auto &row) {
            StockQuote quote;
            quote.price = row.price;
            quote.limitUp = 1850.00;
            quote.limitDown = 10.00;
            QCOMPARE(quote.isLimitUp(), row.up);
            QCOMPARE(quote.isLimitDown(), row.down);
        });
        StockQuote quote;
        quote.price = -6;
        quote.limitDown = -5;
        QVERIFY(!quote.isLimitUp() && !quote.isLimitDown());
    }
};

KESTRUNE_TEST(ParsersTest)
#include "tst_parsers.moc"
