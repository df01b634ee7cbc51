// SPDX-License-Identifier: MIT
#include "endtoend/barprocess.h"
#include "endtoend/recordingmarket.h"
#include "support/marketbodies.h"
#include "support/testregistry.h"

#include <QJsonArray>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

QStringList arguments(const QString &dir, const QString &server, const QString &more = {})
{
    return QStringList{u"--snapshot"_s, dir, u"--market-server"_s, server} +
           more.split(u' ', Qt::SkipEmptyParts);
}

} // namespace

class SnapshotRunTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aCoin();
    void aStockBelowAPrefix();
    void theSelectionStays();
};

void SnapshotRunTest::aCoin()
{
    RecordingMarket market;
    BarProcess bar;
    // Qt's own options are unknown arguments here.
    const QString more = u"--symbol BTC -platform nowhere --timeframe 4H -style none"_s;
    QVERIFY(bar.runToEnd(arguments(u"out"_s, market.address(), more)));
    QCOMPARE(bar.exitCode(), 0);
    QCOMPARE(bar.readAllStandardOutput(), QByteArray());
    QCOMPARE(bar.readAllStandardError(), QByteArray());
    // Half a second for the first poll and one more for what is still arriving are its own.
    QVERIFY2(bar.elapsedMs() >= 1490 && bar.elapsedMs() < 4000, qPrintable(QString::number(bar.elapsedMs())));

    const QJsonObject summary = bar.summary();
    QCOMPARE(summary.size(), 14);
    QCOMPARE(summary.value(u"symbol"_s), QJsonValue(u"BTC"_s));
    QCOMPARE(summary.value(u"timeframe"_s), QJsonValue(u"4H"_s));
    QCOMPARE(summary.value(u"price"_s), QJsonValue(61234.5));
    QCOMPARE(summary.value(u"changePct"_s), QJsonValue(-2.25));
    QCOMPARE(summary.value(u"tradingView"_s), QJsonValue(u"BINANCE:BTCUSDT.P"_s));
    QCOMPARE(summary.value(u"signals"_s).toArray().size(), 3);
    QVERIFY(!summary.value(u"support"_s).toArray().isEmpty());
    QVERIFY(!summary.value(u"resistance"_s).toArray().isEmpty());

    QVERIFY2(market.unknown().isEmpty(), qPrintable(market.unknown().join(u' ')));
    QVERIFY(market.lines().contains(u"/api/v4/futures/usdt/tickers?contract=BTC_USDT"_s));
    QCOMPARE(market.lines().filter(u"ETH"_s), QStringList()); // never the stored instrument
    for (const QByteArray &head : market.heads())
        QVERIFY(!head.toLower().contains("\r\nreferer:"));
}

void SnapshotRunTest::aStockBelowAPrefix()
{
    RecordingMarket market(u"/mirror/v1"_s);
    BarProcess bar;
    QVERIFY(bar.runToEnd(arguments(u"out"_s, market.address() + u'/', u"--market A股 --timeframe 周线"_s)));
    const QJsonObject summary = bar.summary();
    QCOMPARE(summary.value(u"symbol"_s), QJsonValue(u"sh600519"_s));
    QCOMPARE(summary.value(u"headerTitle"_s), QJsonValue(u"贵州茅台 · A股"_s));
    QCOMPARE(summary.value(u"timeframe"_s), QJsonValue(u"周线"_s));
    QVERIFY2(market.unknown().isEmpty(), qPrintable(market.unknown().join(u' ')));
    QVERIFY(market.lines().contains(u"/mirror/v1/appstock/app/fqkline/get?param=sh600519,week,,,320,qfq"_s));
    for (const QByteArray &head : market.heads())
        QVERIFY(head.contains("\r\nReferer: https://gu.qq.com/\r\n"));
}

void SnapshotRunTest::theSelectionStays()
{
    RecordingMarket market;
    BarProcess bar;
    QVERIFY(bar.runToEnd(arguments(u"first"_s, market.address(), u"--market 港股 --symbol hk00005"_s)));
    QVERIFY(!bar.settingsFiles().isEmpty());
    bar.set(u"LC_ALL"_s, u"C"_s);
    QVERIFY(bar.runToEnd(arguments(u"out"_s, market.address())));
    QCOMPARE(bar.readAllStandardError(), QByteArray()); // whatever the locale
    QCOMPARE(bar.summary().value(u"market"_s), QJsonValue(u"港股"_s));
    QCOMPARE(bar.summary().value(u"symbol"_s), QJsonValue(u"hk00005"_s));
}

KESTRUNE_TEST(SnapshotRunTest)
#include "tst_snapshotrun.moc"
