// SPDX-License-Identifier: MIT
#include "market/marketsegment.h"
#include "support/testregistry.h"

#include <QDateTime>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class MarketSegmentTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void textsLeadBackToTheirSegment();
    void codesNameTheirExchange_data();
    void codesNameTheirExchange();
    void labelsOfOtherSegmentsAskForDays();
    void trading_data();
    void trading();
};

void MarketSegmentTest::textsLeadBackToTheirSegment()
{
    for (const MarketSegment segment : allMarketSegments)
        QCOMPARE(marketSegmentFromRawValue(rawValue(segment)), std::optional(segment));
    QCOMPARE(marketSegmentFromRawValue(u"港股"), std::optional(MarketSegment::hk));
    for (const char16_t *unknown : {u"HK", u"", u"a股", u"港股 "})
        QVERIFY(!marketSegmentFromRawValue(unknown));
    for (const StockMarket market : allStockMarkets)
        QCOMPARE(stockMarketOf(rawValue(market)), std::optional(market));
}

void MarketSegmentTest::codesNameTheirExchange_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("exchange");
    QTest::addColumn<QString>("bare");
    QTest::newRow("mixed case") << u"sZ000001"_s << u"sz"_s << u"000001"_s;
    QTest::newRow("only the prefix counts") << u"hkex"_s << u"hk"_s << u"ex"_s;
    QTest::newRow("a bare number names none") << u"600519"_s << QString() << u"600519"_s;
    QTest::newRow("half a prefix names none") << u"s"_s << QString() << u"s"_s;
    QTest::newRow("a long s is not an s") << u"\u017fh600519"_s << QString() << u"\u017fh600519"_s;
}

void MarketSegmentTest::codesNameTheirExchange()
{
    QFETCH(QString, code);
    QFETCH(QString, exchange);
    const auto market = stockMarketOf(code);
    QCOMPARE(market ? rawValue(*market) : QString(), exchange);
    QTEST(bareCode(code), "bare");
}

void MarketSegmentTest::labelsOfOtherSegmentsAskForDays()
{
    QStringList requests;
    for (const char16_t *label : {u"1H", u"4H", u"日线", u"周线", u"月线", u"4h", u""})
        requests << cryptoInterval(label) + u'/' + stockPeriod(label);
    const QStringList expected{u"1h/day"_s,   u"4h/day"_s, u"1d/day"_s, u"1d/week"_s,
                               u"1d/month"_s, u"1d/day"_s, u"1d/day"_s};
    QCOMPARE(requests, expected);
}

void MarketSegmentTest::trading_data()
{
    QTest::addColumn<QString>("utc");
    QTest::addColumn<bool>("china");
    QTest::addColumn<bool>("hongKong");
    // Shanghai is eight hours ahead; 2026-09-16 is a Wednesday.
    QTest::newRow("09:29:59 is too early") << u"2026-09-16T01:29:59.999Z"_s << false << false;
    QTest::newRow("09:30 begins the morning") << u"2026-09-16T01:30:00Z"_s << true << true;
    QTest::newRow("the minute 11:30 belongs to it") << u"2026-09-16T03:30:59Z"_s << true << true;
    QTest::newRow("11:31 is the break of the A-shares") << u"2026-09-16T03:31:00Z"_s << false << true;
    QTest::newRow("12:30 is everybody's break") << u"2026-09-16T04:30:00Z"_s << false << false;
    QTest::newRow("13:00 begins the afternoon") << u"2026-09-16T05:00:00Z"_s << true << true;
    QTest::newRow("15:00 ends the A-shares") << u"2026-09-16T07:00:00Z"_s << true << true;
    QTest::newRow("15:30 is for Hong Kong alone") << u"2026-09-14T07:30:00Z"_s << false << true;
    QTest::newRow("16:01 is too late") << u"2026-09-16T08:01:00Z"_s << false << false;
    QTest::newRow("a Saturday") << u"2026-09-19T02:00:00Z"_s << false << false;
    QTest::newRow("a Sunday") << u"2026-09-20T02:00:00Z"_s << false << false;
    QTest::newRow("a public holiday counts as trading") << u"2026-10-01T02:00:00Z"_s << true << true;
    QTest::newRow("summer time of 1988: 09:30 is 00:30 UTC") << u"1988-07-06T00:30:00Z"_s << true << true;
    QTest::newRow("before the epoch") << u"1969-12-31T02:00:00Z"_s << true << true;
}

void MarketSegmentTest::trading()
{
    QFETCH(QString, utc);
    const QDateTime time = QDateTime::fromString(utc, Qt::ISODateWithMs);
    QVERIFY(time.isValid());
    const Instant instant{std::chrono::milliseconds{time.toMSecsSinceEpoch()}};
    QTEST(isTrading(StockMarket::sh, instant), "china");
    QTEST(isTrading(StockMarket::sz, instant), "china");
    QTEST(isTrading(StockMarket::hk, instant), "hongKong");
}

KESTRUNE_TEST(MarketSegmentTest)

#include "tst_marketsegment.moc"
