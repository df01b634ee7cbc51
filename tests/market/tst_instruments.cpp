// SPDX-License-Identifier: MIT
#include "market/chartlink.h"
#include "market/endpoints.h"
#include "market/marketsegment.h"
#include "market/shanghaitime.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QDateTime>
#include <QTimeZone>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

/// What an instrument's code and timeframe lead to: exchange, sessions, requests, chart page.
class InstrumentsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void textsLeadBackToTheirSegment()
    {
        for (const MarketSegment segment : allMarketSegments)
            QCOMPARE(marketSegmentFromRawValue(rawValue(segment)), std::optional(segment));
        QCOMPARE(marketSegmentFromRawValue(u"港股"), std::optional(MarketSegment::hk));
        for (const char16_t *unknown : {u"HK", u"", u"a股", u"港股 "})
            QVERIFY(!marketSegmentFromRawValue(unknown));
    }

    void codesNameTheirExchange()
    {
        const struct
        {
            const char *name;
            QString code;
            std::optional<StockMarket> exchange;
            QString bare;
        } rows[] = {
            {"Shanghai", u"sh600519"_s, StockMarket::sh, u"600519"_s},
            {"mixed case", u"sZ000001"_s, StockMarket::sz, u"000001"_s},
            {"only the prefix counts", u"hkex"_s, StockMarket::hk, u"ex"_s},
            {"a bare number names none", u"600519"_s, {}, u"600519"_s},
            {"half a prefix names none", u"s"_s, {}, u"s"_s},
            {"a long s is not an s", u"\u017fh600519"_s, {}, u"\u017fh600519"_s},
        };
        forEachRow(rows, [](const auto &row) {
            QCOMPARE(stockMarketOf(row.code), row.exchange);
            QCOMPARE(bareCode(row.code), row.bare);
        });
    }

    void typedCodesAreFound()
    {
        using enum MarketSegment;
        const struct
        {
            const char *name;
            MarketSegment segment;
            QString text, code; // empty for none
        } rows[] = {
            {"a coin in any case", crypto, u" pepe "_s, u"PEPE"_s},
            {"a coin with its pair", crypto, u"pepe_usdt"_s, u"PEPE"_s},
            {"a coin and its quote in one", crypto, u"PEPEUSDT"_s, u"PEPE"_s},
            {"a coin that begins with a number", crypto, u"1000SATS"_s, u"1000SATS"_s},
            {"nothing but the quote", crypto, u"USDT"_s, {}},
            {"no coin", crypto, u"BTC-PERP"_s, {}},
            {"Chinese", crypto, u"比特币"_s, {}},
            {"more than a code", crypto, QString(21, u'A'), {}},
            {"Shanghai", cn, u"600036"_s, u"sh600036"_s},
            {"Shanghai's funds", cn, u"510300"_s, u"sh510300"_s},
            {"a depositary receipt", cn, u"900901"_s, u"sh900901"_s},
            {"Shenzhen", cn, u"000001"_s, u"sz000001"_s},
            {"Shenzhen's funds", cn, u"159915"_s, u"sz159915"_s},
            {"the second board", cn, u"300750"_s, u"sz300750"_s},
            {"the prefix decides", cn, u"SH000001"_s, u"sh000001"_s},
            {"wide digits", cn, u"６０００３６"_s, u"sh600036"_s},
            {"other digits", cn, u"٦٠٠٠٣٦"_s, {}},
            {"no exchange of ours", cn, u"430047"_s, {}},
            {"Hong Kong's prefix", cn, u"hk600036"_s, {}},
            {"five digits are no A-share", cn, u"00700"_s, {}},
            {"Hong Kong", hk, u"00700"_s, u"hk00700"_s},
            {"Hong Kong with its prefix", hk, u"HK00700"_s, u"hk00700"_s},
            {"Shanghai's prefix", hk, u"sh00700"_s, {}},
            {"four digits", hk, u"0700"_s, {}},
        };
        forEachRow(rows, [](const auto &row) {
            QCOMPARE(codeFromTyped(row.segment, row.text).value_or(QString()), row.code);
            QCOMPARE(listedSegment(row.code), row.code.isEmpty() ? std::nullopt : std::optional(row.segment));
        });
        QCOMPARE(shownCode(crypto, u"SHIB"_s) + shownCode(cn, u"SH600036"_s), u"SHIB600036"_s);
    }

    void fundsGoByTenthsOfACent()
    {
        QString decimals;
        for (const char16_t *code : {u"sh510300", u"SZ159915", u"sz161725", u"sh600519", u"sz150",
                                     u"sz000001", u"sz140001", u"hk51030"})
            decimals += QString::number(priceGrid(code).decimals);
        QCOMPARE(decimals, u"33323222"_s);
        QVERIFY(priceGrid(u"sh510300").step == 0.001 && priceGrid(u"sh600519").step == 0.01);
    }

    void labelsOfOtherSegmentsAskForDays()
    {
        QStringList requests;
        for (const char16_t *label : {u"1H", u"4H", u"日线", u"周线", u"月线", u"4h", u""})
            requests << cryptoInterval(label) + u'/' + stockPeriod(label);
        QCOMPARE(requests, (QStringList{u"1h/day"_s, u"4h/day"_s, u"1d/day"_s, u"1d/week"_s, u"1d/month"_s,
                                        u"1d/day"_s, u"1d/day"_s}));
    }

    void trading()
    {
        // Shanghai is eight hours ahead; 2026-09-16 is a Wednesday.
        const struct
        {
            const char *name;
            QString utc;
            bool china, hongKong;
        } rows[] = {
            {"09:29:59 is too early", u"2026-09-16T01:29:59.999Z"_s, false, false},
            {"09:30 begins the morning", u"2026-09-16T01:30:00Z"_s, true, true},
            {"the minute 11:30 belongs to it", u"2026-09-16T03:30:59Z"_s, true, true},
            {"11:31 is the break of the A-shares", u"2026-09-16T03:31:00Z"_s, false, true},
            {"12:30 is everybody's break", u"2026-09-16T04:30:00Z"_s, false, false},
            {"13:00 begins the afternoon", u"2026-09-16T05:00:00Z"_s, true, true},
            {"15:00 ends the A-shares", u"2026-09-16T07:00:00Z"_s, true, true},
            {"15:30 is for Hong Kong alone", u"2026-09-14T07:30:00Z"_s, false, true},
            {"16:01 is too late", u"2026-09-16T08:01:00Z"_s, false, false},
            {"a Saturday", u"2026-09-19T02:00:00Z"_s, false, false},
            {"a Sunday", u"2026-09-20T02:00:00Z"_s, false, false},
            {"a public holiday counts as trading", u"2026-10-01T02:00:00Z"_s, true, true},
            {"summer time of 1988: 09:30 is 00:30 UTC", u"1988-07-06T00:30:00Z"_s, true, true},
            {"before the epoch", u"1969-12-31T02:00:00Z"_s, true, true},
        };
        forEachRow(rows, [](const auto &row) {
            const QDateTime time = QDateTime::fromString(row.utc, Qt::ISODateWithMs);
            const Instant instant{std::chrono::milliseconds{time.toMSecsSinceEpoch()}};
            QCOMPARE(isTrading(StockMarket::sh, instant), row.china);
            QCOMPARE(isTrading(StockMarket::sz, instant), row.china);
            QCOMPARE(isTrading(StockMarket::hk, instant), row.hongKong);
        });
    }

    // Covers local mean time before 1901, the summer times of the 1940s and of 1986 to 1991, and today.
    void everyMidnightIsTheZoneDatabases()
    {
        const QTimeZone zone("Asia/Shanghai");
        QVERIFY(zone.isValid());
        for (QDate date(1899, 12, 1); date < QDate(2030, 1, 1); date = date.addDays(1)) {
            const QByteArray text = date.toString(Qt::ISODate).toLatin1();
            QVERIFY2(shanghaiMidnight(text.toStdString()) == date.startOfDay(zone).toMSecsSinceEpoch(),
                     text.constData());
        }
        for (const char *text :
             {"", "2026-9-11", "2026-09-11 ", " 2026-09-11", "2026/09/11", "20260911", "26-09-11",
              "2026-02-29", "2026-13-01", "2026-00-10", "2026-04-31", "2026-01-00", "0000-01-01",
              "+026-01-01", "2026-+1-01", "2026--1-01", "2026-09-1a", "2026-09-11T00",
              "\xd9\xa2"
              "026-09-1"})
            QVERIFY2(!shanghaiMidnight(text), text);
    }

    void addressesStandAsWritten()
    {
        const struct
        {
            const char *name;
            QString text;
            bool valid;
        } rows[] = {
            {"plain", u"https://a.test/x?a=B_c&d=1,2,,,3:@"_s, true},
            {"port and address", u"http://127.0.0.1:8080/x"_s, true},
            {"an existing escape", u"https://a.test/x?a=%E5%8A%A0"_s, true},
            {"a blank", u"https://a.test/x?a=B C"_s, false},
            {"a control character", u"https://a.test/x?a=\x7f"_s, false},
            {"Chinese", u"https://a.test/x?a=茅台"_s, false},
            {"a caret", u"https://a.test/x?a=^HSI"_s, false},
            {"a lone percent sign", u"https://a.test/x?a=5%"_s, false},
            {"another scheme", u"file:///etc/passwd"_s, false},
            {"no host", u"https:///x"_s, false},
            {"nothing", {}, false},
        };
        forEachRow(rows, [](const auto &row) {
            const auto url = requestUrl(row.text);
            QCOMPARE(url.has_value(), row.valid);
            QVERIFY(!url || QString::fromLatin1(url->toEncoded()) == row.text);
        });
        for (const auto part : {&Endpoints::gate, &Endpoints::binanceSpot, &Endpoints::binanceFutures,
                                &Endpoints::okx, &Endpoints::tencentQuotes, &Endpoints::tencentCandles})
            QCOMPARE(Endpoints::via(u"http://gate.way/mirror/"_s).*part, u"http://gate.way/mirror"_s);
    }

    void chartPages()
    {
        using enum MarketSegment;
        const struct
        {
            const char *name;
            MarketSegment market;
            QString code, timeframe, query;
        } rows[] = {
            {"a pair keeps its USDT", crypto, u"ETHUSDT"_s, u"1H"_s, u"BINANCE:ETHUSDT.P&interval=60"_s},
            {"a coin that looks like a stock", crypto, u"shib"_s, u"日线"_s,
             u"BINANCE:SHIBUSDT.P&interval=1D"_s},
            {"Shanghai", cn, u"SH600519"_s, u"周线"_s, u"SSE:600519&interval=1W"_s},
            {"Shenzhen", cn, u"sz000001"_s, u"月线"_s, u"SZSE:000001&interval=1M"_s},
            {"no prefix is Shanghai", cn, u"600519"_s, u"4H"_s, u"SSE:600519&interval=240"_s},
            {"Hong Kong keeps four digits", hk, u"hk00700"_s, {}, u"HKEX:0700&interval=1D"_s},
            {"Hong Kong with one digit", hk, u"HK00005"_s, {}, u"HKEX:0005&interval=1D"_s},
            {"nothing but zeros", hk, u"hk00000"_s, {}, u"HKEX:0000&interval=1D"_s},
            {"five digits stay", hk, u"hk80700"_s, {}, u"HKEX:80700&interval=1D"_s},
            {"what a query may hold stays",
             hk,
             u"a-b.c_d~e!$&'()*+,;=:@/?"_s,
             {},
             u"HKEX:a-b.c_d~e!$&'()*+,;=:@/?&interval=1D"_s},
            {"all else is encoded",
             hk,
             u"^ #%[]\"\u8305"_s,
             {},
             u"HKEX:%5E%20%23%25%5B%5D%22%E8%8C%85&interval=1D"_s},
        };
        forEachRow(rows, [](const auto &row) {
            const auto url = tradingViewUrl(row.code, row.market, row.timeframe);
            QVERIFY(url);
            QCOMPARE(QString::fromLatin1(url->toEncoded()),
                     u"https://cn.tradingview.com/chart/?symbol="_s + row.query);
        });
        QVERIFY(!tradingViewUrl(QString(QChar(0xd83d)), hk, u"1H")); // half a surrogate pair
    }
};

KESTRUNE_TEST(InstrumentsTest)
#include "tst_instruments.moc"
