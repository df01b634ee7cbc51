// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/plainzones.h"
#include "analysis/randomcandles.h"
#include "analysis/zonebuilding.h"
#include "support/testregistry.h"

#include <QDir>
#include <QTest>

#include <algorithm>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

/// What must hold for every real market: runs over recorded candles that lie beside the repository.
class HistoryTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void invariantsHoldOnRealCandles_data();
    void invariantsHoldOnRealCandles();
};

void HistoryTest::invariantsHoldOnRealCandles_data()
{
    QTest::addColumn<QString>("path");
    const QDir folder(QStringLiteral(KESTRUNE_SOURCE_DIR "/../shared/market-history"));
    const QStringList files = folder.entryList({u"*.csv"_s}, QDir::Files);
    if (files.isEmpty())
        QSKIP("no recorded candles beside the repository (../shared/market-history)");
    for (const QString &file : files)
        QTest::newRow(qPrintable(file)) << folder.filePath(file);
}

void HistoryTest::invariantsHoldOnRealCandles()
{
    QFETCH(QString, path);
    const CandleList history = readHistory(path);
    QVERIFY2(history.size() > 400, "unreadable history file");
    const bool stock = !path.contains(u"USDT"_s);
    const double tick = stock ? 0.01 : 0;
    const std::size_t span = stock ? 320 : 200;
    for (std::size_t end = span; end <= history.size(); end += 61) {
        const CandleList candles(history.begin() + static_cast<std::ptrdiff_t>(end - span),
                                 history.begin() + static_cast<std::ptrdiff_t>(end));
        const double price = candles.back().c;
        const auto zones = buildZones(candles, price, tick);
        const auto plain = plainBuildZones(candles, price, tick);
        QCOMPARE(zones.size(), plain.size());
        std::size_t levels = 0;
        for (std::size_t i = 0; i < zones.size(); ++i) {
            const Zone &zone = zones[i];
            QVERIFY(zone.mid == plain[i].mid && zone.type == plain[i].type);
            QVERIFY(zone.lo <= zone.mid && zone.mid <= zone.hi);
            QVERIFY(i == 0 || zones[i - 1].lo > zone.hi);
            QCOMPARE(zone.confirm, static_cast<int>(zone.names.size()));
            QCOMPARE(zone.sources.size(), zone.names.size());
            QCOMPARE(zone.type == u"resistance"_s, zone.distPct >= 0.15);
            QCOMPARE(zone.type == u"support"_s, zone.distPct <= -0.15);
            levels += zone.names.size();
        }
        QVERIFY(levels >= 13);

        const IndicatorReadings readings = readIndicators(candles);
        const auto [low, high] = std::minmax_element(
            candles.begin(), candles.end(), [](const Candle &a, const Candle &b) { return a.c < b.c; });
        for (const auto &average : {readings.ema50, readings.ema144, readings.ema169, readings.ema200})
            QVERIFY(average && *average >= low->c && *average <= high->c);
        QVERIFY(readings.rsi14 && *readings.rsi14 >= 0 && *readings.rsi14 <= 100);
        QVERIFY(readings.macd && readings.atr14 && *readings.atr14 >= 0 && readings.vwap);
    }
}

KESTRUNE_TEST(HistoryTest)
#include "tst_history.moc"
