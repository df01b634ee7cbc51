// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/randomcandles.h"
#include "support/testregistry.h"

#include <QTest>

#include <bit>
#include <csignal>
#include <limits>
#include <sys/wait.h>
#include <unistd.h>

using namespace kestrune;
using namespace kestrune::test;

namespace {

constexpr int intMax = std::numeric_limits<int>::max();
constexpr int intMin = std::numeric_limits<int>::min();

using Values = std::vector<double>;

Values closesOf(const CandleList &candles)
{
    Values closes;
    for (const Candle &candle : candles)
        closes.push_back(candle.c);
    return closes;
}

Candle bar(double h, double l, double c, double v = 1)
{
    return {0, c, h, l, c, v};
}

/// The same bits; every NaN equals every other.
bool same(double a, double b)
{
    return std::bit_cast<quint64>(a) == std::bit_cast<quint64>(b) || (a != a && b != b);
}

bool same(const std::optional<double> &a, const std::optional<double> &b)
{
    return a && b ? same(*a, *b) : a.has_value() == b.has_value();
}

bool same(const std::optional<MacdResult> &a, const std::optional<MacdResult> &b)
{
    if (!a || !b)
        return a.has_value() == b.has_value();
    return same(a->macd, b->macd) && same(a->signal, b->signal) && same(a->hist, b->hist);
}

const Values rising{1, 2, 3, 4};

} // namespace

class IndicatorsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void movingAverages();
    void averageTrueRange();
    void relativeStrength_data();
    void relativeStrength();
    void relativeStrengthBelowPeriodOneStopsTheProgram();
    void macdAlignsItsAveragesAtTheEnd();
    void volumeWeightedPrice();
    void oddPeriodsAreAbsent();
    void readingsEqualThePlainFunctions_data();
    void readingsEqualThePlainFunctions();
};

void IndicatorsTest::movingAverages()
{
    QCOMPARE(sma(rising, 4).value(), 2.5);
    QCOMPARE(sma(rising, 2).value(), 3.5);
    QCOMPARE(emaSeries(rising, 4).value(), Values{2.5});
    // k = 2/3: 1/3 * 1.5 + 2/3 * 3 = 2.5, then 1/3 * 2.5 + 2/3 * 4 = 3.5
    const Values series = emaSeries(rising, 2).value();
    QCOMPARE(series.size(), 3U);
    QVERIFY(closeTo(series[0], 1.5, 0) && closeTo(series[1], 2.5, 1e-15) && closeTo(series[2], 3.5, 1e-15));
    QVERIFY(same(ema(rising, 2), series.back()));
    QCOMPARE(emaSeries(rising, 1).value(), rising);
    QVERIFY(!sma(rising, 5) && !ema(rising, 5) && !emaSeries(rising, 5));
}

void IndicatorsTest::averageTrueRange()
{
    // True ranges by hand: 3 (gap from 12 down to 9), 2 (10..8), 6 (gap from 9 up to 15).
    const CandleList candles{bar(13, 11, 12), bar(10, 9, 9.5), bar(10, 8, 9), bar(15, 14, 14.5)};
    QCOMPARE(atr(candles, 3).value(), 11.0 / 3);
    QCOMPARE(atr(candles, 1).value(), 6.0);
    QVERIFY(!atr(candles, 4)); // the first candle has no true range
    QVERIFY(!atr(candles));
}

void IndicatorsTest::relativeStrength_data()
{
    QTest::addColumn<Values>("values");
    QTest::addColumn<int>("period");
    QTest::addColumn<double>("expected");
    QTest::newRow("flat deliberately reads 100") << Values(20, 7.0) << 14 << 100.0;
    // gains 2 + 0, losses 0 + 1 over 2: RS = 1 / 0.5 = 2, 100 - 100 / 3
    QTest::newRow("seed averages alone") << Values{10, 12, 11} << 2 << 100 - 100.0 / 3;
    // then +3: gain (1 + 3) / 2 = 2, loss 0.5 / 2 = 0.25: RS = 8, 100 - 100 / 9
    QTest::newRow("one smoothing step") << Values{10, 12, 11, 14} << 2 << 100 - 100.0 / 9;
}

void IndicatorsTest::relativeStrength()
{
    QFETCH(Values, values);
    QFETCH(int, period);
    QFETCH(double, expected);
    QVERIFY(closeTo(rsi(values, period).value(), expected, 1e-12));
    QVERIFY(!rsi(std::span(values).first(static_cast<std::size_t>(period)), period));
}

void IndicatorsTest::relativeStrengthBelowPeriodOneStopsTheProgram()
{
    QVERIFY(!rsi({}, 0));
    const pid_t child = fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        std::signal(SIGABRT, SIG_DFL);
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &) {
            if (type == QtFatalMsg)
                _exit(42);
        });
        _exit(rsi(rising, 0) ? 1 : 0);
    }
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 42);
}

void IndicatorsTest::macdAlignsItsAveragesAtTheEnd()
{
    // A straight line of slope 1: an average of period p lags it by (p - 1) / 2, so 5.5 and 12.5 bars.
    Values line;
    for (int i = 0; i < 60; ++i)
        line.push_back(i);
    const MacdResult result = macd(line).value();
    QVERIFY(closeTo(result.macd, 7, 1e-12) && closeTo(result.signal, 7, 1e-12) &&
            closeTo(result.hist, 0, 1e-12));

    // Fast and slow may change places; by hand with periods 2 and 1 on 1, 2, 4: ema2 = 1.5, 19/6.
    const MacdResult turned = macd(Values{1, 2, 4}, 2, 1, 2).value();
    QVERIFY(closeTo(turned.macd, 19.0 / 6 - 4, 1e-14));
    QVERIFY(closeTo(turned.signal, (-0.5 + 19.0 / 6 - 4) / 2, 1e-14));
    QVERIFY(closeTo(turned.hist, turned.macd - turned.signal, 0));
}

void IndicatorsTest::volumeWeightedPrice()
{
    // typical prices 2 and 5, volumes 1 and 3
    QCOMPARE(vwap(CandleList{bar(3, 1, 2, 1), bar(6, 4, 5, 3)}).value(), 17.0 / 4);
    QVERIFY(!vwap({}));
    QVERIFY(!vwap(CandleList{bar(3, 1, 2, 0), bar(6, 4, 5, 0)}));
    QVERIFY(!vwap(CandleList{bar(3, 1, 2, -1)}));
}

void IndicatorsTest::oddPeriodsAreAbsent()
{
    const CandleList candles{bar(1, 1, 1), bar(2, 1, 2), bar(3, 1, 2)};
    for (const int period : {0, -1, intMin, intMax}) {
        QVERIFY(!sma(rising, period) && !ema(rising, period) && !emaSeries(rising, period));
        QVERIFY(!atr(candles, period) && !atr({}, period));
        QVERIFY(!macd(rising, period, 2, 1) && !macd(rising, 1, period, 1) && !macd(rising, 1, 2, period));
    }
    QVERIFY(!rsi(rising, intMax));
}

void IndicatorsTest::readingsEqualThePlainFunctions_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("market-like candles") << static_cast<int>(CandleKind::walk);
    QTest::newRow("few distinct prices") << static_cast<int>(CandleKind::coarse);
    QTest::newRow("one price, no volume") << static_cast<int>(CandleKind::still);
    QTest::newRow("any doubles at all") << static_cast<int>(CandleKind::hostile);
}

void IndicatorsTest::readingsEqualThePlainFunctions()
{
    QFETCH(int, kind);
    std::mt19937_64 random(11);
    for (std::size_t count = 0; count <= 400; ++count) {
        for (const double level : {0.00002, 37.0, 1e9}) {
            const CandleList candles = randomCandles(random, count, level, static_cast<CandleKind>(kind));
            const Values closes = closesOf(candles);
            const IndicatorReadings readings = readIndicators(candles);
            const auto where = qPrintable(QStringLiteral("%1 candles from %2").arg(count).arg(level));
            QVERIFY2(same(readings.ema50, ema(closes, 50)), where);
            QVERIFY2(same(readings.ema144, ema(closes, 144)), where);
            QVERIFY2(same(readings.ema169, ema(closes, 169)), where);
            QVERIFY2(same(readings.ema200, ema(closes, 200)), where);
            QVERIFY2(same(readings.rsi14, rsi(closes)), where);
            QVERIFY2(same(readings.macd, macd(closes)), where);
            QVERIFY2(same(readings.atr14, atr(candles)), where);
            QVERIFY2(same(readings.vwap, vwap(candles)), where);
        }
    }
}

KESTRUNE_TEST(IndicatorsTest)
#include "tst_indicators.moc"
