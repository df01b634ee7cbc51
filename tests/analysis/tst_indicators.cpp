// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/randomcandles.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <climits>
#include <sys/wait.h>
#include <unistd.h>

using namespace kestrune;
using namespace kestrune::test;

class IndicatorsTest : public QObject
{
    Q_OBJECT

    using Values = std::vector<double>;
    const Values rising{1, 2, 3, 4};

private Q_SLOTS:
    void movingAverages()
    {
        QCOMPARE(sma(rising, 4).value(), 2.5);
        QCOMPARE(sma(rising, 2).value(), 3.5);
        QCOMPARE(emaSeries(rising, 4).value(), Values{2.5});
        // k = 2/3: 1/3 * 1.5 + 2/3 * 3 = 2.5, then 1/3 * 2.5 + 2/3 * 4 = 3.5
        const Values series = emaSeries(rising, 2).value();
        QCOMPARE(series.size(), 3U);
        QVERIFY(series[0] == 1.5 && closeTo(series[1], 2.5, 1e-15) && closeTo(series[2], 3.5, 1e-15));
        QVERIFY(ema(rising, 2) == series.back());
        QCOMPARE(emaSeries(rising, 1).value(), rising);
        QVERIFY(!sma(rising, 5) && !ema(rising, 5) && !emaSeries(rising, 5));
    }

    void averageTrueRange()
    {
        // True ranges by hand: 3 (gap from 12 down to 9), 2 (10..8), 6 (gap from 9 up to 15).
        const CandleList candles{bar(13, 11, 12), bar(10, 9, 9.5), bar(10, 8, 9), bar(15, 14, 14.5)};
        QCOMPARE(atr(candles, 3).value(), 11.0 / 3);
        QCOMPARE(atr(candles, 1).value(), 6.0);
        QVERIFY(!atr(candles, 4) && !atr(candles)); // the first candle has no true range
    }

    void relativeStrength()
    {
        const struct
        {
            const char *name;
            Values values;
            int period;
            double expected;
        } rows[] = {
            {"flat deliberately reads 100", Values(20, 7.0), 14, 100},
            {"falling", {4, 3, 1}, 2, 0},
            // gains 2 + 0, losses 0 + 1 over 2: RS = 1 / 0.5 = 2, 100 - 100 / 3
            {"seed averages alone", {10, 12, 11}, 2, 100 - 100.0 / 3},
            // then +3: gain (1 + 3) / 2 = 2, loss 0.5 / 2 = 0.25: RS = 8, 100 - 100 / 9
            {"one smoothing step", {10, 12, 11, 14}, 2, 100 - 100.0 / 9},
        };
        forEachRow(rows, [](const auto &row) {
            QVERIFY(closeTo(rsi(row.values, row.period).value(), row.expected, 1e-12));
            QVERIFY(!rsi(std::span(row.values).first(static_cast<std::size_t>(row.period)), row.period));
        });
    }

    void relativeStrengthBelowPeriodOneStopsTheProgram()
    {
        QVERIFY(!rsi({}, 0));
        if (fork() == 0) {
            qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &) {
                _exit(type == QtFatalMsg ? 42 : 1);
            });
            _exit(rsi(rising, 0) ? 2 : 3);
        }
        int status = 0;
        wait(&status);
        QVERIFY(WIFEXITED(status) && WEXITSTATUS(status) == 42);
    }

    void macdAlignsItsAveragesAtTheEnd()
    {
        // A straight line of slope 1: an average of period p lags it by (p - 1) / 2, so 5.5 and 12.5 bars.
        Values line;
        for (int i = 0; i < 60; ++i)
            line.push_back(i);
        const MacdResult result = macd(line).value();
        QVERIFY(closeTo(result.macd, 7, 1e-12) && closeTo(result.signal, 7, 1e-12));
        QVERIFY(macd(std::span(line).first(34)) && !macd(std::span(line).first(33)));

        // Fast and slow may change places; by hand with periods 2 and 1 on 1, 2, 4: ema2 = 1.5, 19/6.
        const MacdResult turned = macd(Values{1, 2, 4}, 2, 1, 2).value();
        QVERIFY(closeTo(turned.macd, 19.0 / 6 - 4, 1e-14));
        QVERIFY(closeTo(turned.signal, (-0.5 + 19.0 / 6 - 4) / 2, 1e-14));
        QVERIFY(closeTo(turned.hist, turned.macd - turned.signal, 0));
    }

    void volumeWeightedPrice()
    {
        // typical prices (3 + 1 + 2) / 3 = 2 and (6 + 4 + 8) / 3 = 6, volumes 1 and 3
        QCOMPARE(vwap(CandleList{bar(3, 1, 2, 1), bar(6, 4, 8, 3)}).value(), 5.0);
        QVERIFY(!vwap({}) && !vwap(CandleList{bar(3, 1, 2, 0)}) && !vwap(CandleList{bar(3, 1, 2, -1)}));
    }

    void oddPeriodsAreAbsent()
    {
        const CandleList candles{bar(1, 1, 1), bar(2, 1, 2), bar(3, 1, 2)};
        for (const int period : {0, -1, INT_MIN, INT_MAX}) {
            QVERIFY(!sma(rising, period) && !ema(rising, period) && !emaSeries(rising, period));
            QVERIFY(!atr(candles, period) && !atr({}, period));
            QVERIFY(!macd(rising, period, 2, 1) && !macd(rising, 1, period) && !macd(rising, 1, 2, period));
        }
        QVERIFY(!rsi(rising, INT_MAX));
    }

    /// Each reading has the period that its name says and begins with the right candle.
    void readingsEqualTheSingleFunctions()
    {
        std::mt19937_64 random(11);
        CandleList candles;
        Values closes;
        for (const Candle &candle : randomCandles(random, 260, 37)) {
            candles.push_back(candle);
            closes.push_back(candle.c);
            const IndicatorReadings readings = readIndicators(candles);
            QVERIFY(readings.ema50 == ema(closes, 50) && readings.ema144 == ema(closes, 144));
            QVERIFY(readings.ema169 == ema(closes, 169) && readings.ema200 == ema(closes, 200));
            QVERIFY(readings.rsi14 == rsi(closes) && readings.atr14 == atr(candles));
            QVERIFY(readings.vwap == vwap(candles));
            const MacdResult none{0, 0, 0};
            const MacdResult expected = macd(closes, 12, 26, 9).value_or(none);
            QCOMPARE(readings.macd.value_or(none).macd, expected.macd);
            QCOMPARE(readings.macd.value_or(none).hist, expected.hist);
        }
    }
};

KESTRUNE_TEST(IndicatorsTest)
#include "tst_indicators.moc"
