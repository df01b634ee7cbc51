// SPDX-License-Identifier: MIT
#include "market/chartlink.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class ChartLinkTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void links_data();
    void links();
    void halfASurrogatePairFormsNoLink();
};

void ChartLinkTest::links_data()
{
    QTest::addColumn<MarketSegment>("market");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("timeframe");
    QTest::addColumn<QString>("query");
    using enum MarketSegment;
    QTest::newRow("a pair keeps its USDT")
        << crypto << u"ETHUSDT"_s << u"1H"_s << u"BINANCE:ETHUSDT.P&interval=60"_s;
    QTest::newRow("a coin that looks like a stock")
        << crypto << u"shib"_s << u"日线"_s << u"BINANCE:SHIBUSDT.P&interval=1D"_s;
    QTest::newRow("Shanghai") << cn << u"SH600519"_s << u"周线"_s << u"SSE:600519&interval=1W"_s;
    QTest::newRow("Shenzhen") << cn << u"sz000001"_s << u"月线"_s << u"SZSE:000001&interval=1M"_s;
    QTest::newRow("no prefix is Shanghai") << cn << u"600519"_s << u"4H"_s << u"SSE:600519&interval=240"_s;
    QTest::newRow("Hong Kong keeps four digits") << hk << u"hk00700"_s << u""_s << u"HKEX:0700&interval=1D"_s;
    QTest::newRow("Hong Kong with one digit") << hk << u"HK00005"_s << u""_s << u"HKEX:0005&interval=1D"_s;
    QTest::newRow("nothing but zeros") << hk << u"hk00000"_s << u""_s << u"HKEX:0000&interval=1D"_s;
    QTest::newRow("five digits stay") << hk << u"hk80700"_s << u""_s << u"HKEX:80700&interval=1D"_s;
    QTest::newRow("what a query may hold stays")
        << hk << u"a-b.c_d~e!$&'()*+,;=:@/?"_s << u""_s << u"HKEX:a-b.c_d~e!$&'()*+,;=:@/?&interval=1D"_s;
    QTest::newRow("all else is encoded")
        << hk << u"^ #%[]\"\u8305"_s << u""_s << u"HKEX:%5E%20%23%25%5B%5D%22%E8%8C%85&interval=1D"_s;
}

void ChartLinkTest::links()
{
    QFETCH(MarketSegment, market);
    QFETCH(QString, code);
    QFETCH(QString, timeframe);
    QFETCH(QString, query);
    const auto url = tradingViewUrl(code, market, timeframe);
    QVERIFY(url);
    QCOMPARE(QString::fromLatin1(url->toEncoded()), u"https://cn.tradingview.com/chart/?symbol="_s + query);
}

void ChartLinkTest::halfASurrogatePairFormsNoLink()
{
    QVERIFY(!tradingViewUrl(QString(QChar(0xd83d)), MarketSegment::hk, u"1H"));
}

KESTRUNE_TEST(ChartLinkTest)

#include "tst_chartlink.moc"
