// SPDX-License-Identifier: MIT
#include "analysis/levels.h"
#include "analysis/randomcandles.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <climits>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class LevelsTest : public QObject
{
    Q_OBJECT

    using Values = std::vector<double>;

    /// Bars with the given highs, and below zero their mirror image as lows.
    static CandleList mirrored(const Values &highs)
    {
        CandleList candles;
        for (const double high : highs)
            candles.push_back(bar(high, -high, 0));
        return candles;
    }

private Q_SLOTS:
    void floorPivots()
    {
        // An uneven bar tells the terms apart: pp 98, by hand from the formulas.
        const Pivot uneven = calcPivot(112, 90, 92);
        QCOMPARE((Values{uneven.r3, uneven.r2, uneven.r1, uneven.pp, uneven.s1, uneven.s2, uneven.s3}),
                 (Values{128, 120, 106, 98, 84, 76, 62}));
    }

    void retracementOfTheLastTwentyBars()
    {
        CandleList candles(5, bar(500, 1, 300)); // too old to count
        candles.resize(24, bar(120, 100, 105));
        candles.push_back(bar(119, 101, 110));
        const FibResult fib = calcFibonacci(candles);
        QVERIFY(fib.swingHigh == 120 && fib.swingLow == 100);
        QCOMPARE(fib.trend, u"up"_s); // a close exactly in the middle is up
        QVERIFY(calcFibonacci(candles, 25).swingHigh == 500 && calcFibonacci(candles, INT_MAX).swingLow == 1);
    }

    void retracementDirections()
    {
        const FibResult up = calcFibonacci(CandleList{bar(120, 100, 120)});
        const FibResult down = calcFibonacci(CandleList{bar(120, 100, 101)});
        const Values expectedUp{115.28, 112.36, 110, 107.64, 104.28};
        for (std::size_t i = 0; i < expectedUp.size(); ++i) {
            QVERIFY(closeTo(up.levels[i], expectedUp[i], 1e-12));
            QVERIFY(closeTo(down.levels[i], 220 - expectedUp[i], 1e-12));
        }
        QCOMPARE(down.trend, u"down"_s);
        QVERIFY(up.level("0.618") == up.levels[3] && !up.level("0.5"));
    }

    void retracementOfNothing()
    {
        for (const FibResult &fib : {calcFibonacci({}), calcFibonacci(CandleList{bar(3, 1, 2)}, 0)}) {
            QVERIFY(fib.swingHigh == -qInf() && fib.swingLow == qInf());
            QCOMPARE(fib.trend, u"down"_s); // the middle is no number, and no comparison with it holds
        }
        QCOMPARE(calcFibonacci(CandleList{bar(3, 1, 2), bar(qQNaN(), 2, 2)}).swingHigh, 3.0);
    }

    void swings()
    {
        const struct
        {
            const char *name;
            Values highs, expected;
        } rows[] = {
            {"of seven bars only the middle one can be", {1, 2, 3, 9, 3, 2, 1}, {9}},
            {"a plateau is no swing point", {1, 2, 3, 9, 9, 3, 2, 1}, {}},
            {"an equal at the left end of the window disqualifies", {9, 1, 1, 9, 1, 1, 1}, {}},
            {"an equal at the right end of the window disqualifies", {1, 1, 1, 9, 1, 1, 9}, {}},
            {"an equal beyond the window does not", {9, 1, 1, 1, 9, 1, 1, 1}, {9}},
            {"bar order, not price order", {0, 0, 0, 5, 1, 1, 1, 9, 1, 1, 1, 7, 1, 1, 1}, {5, 9, 7}},
            {"a neighbour that is no number disqualifies", {qQNaN(), 1, 1, 9, 1, 1, 1}, {}},
        };
        forEachRow(rows, [](const auto &row) {
            Swings found = detectSwings(mirrored(row.highs));
            QCOMPARE(found.highs, row.expected);
            for (double &low : found.lows)
                low = -low;
            QCOMPARE(found.lows, row.expected);
        });
    }

    void swingsWithOddReaches()
    {
        const CandleList candles = mirrored({4, 1, 3, 2, 5, 0});
        QCOMPARE(detectSwings(candles, 1, 1).highs, (Values{3, 5}));
        QCOMPARE(detectSwings(candles, 3, 0).highs, (Values{5}));
        QCOMPARE(detectSwings(candles, 0, 2).highs, (Values{4}));
        QCOMPARE(detectSwings(candles, 0, 0).highs.size(), 6U); // nothing to compare with
        QCOMPARE(detectSwings(candles, -4, 2).highs, (Values{4}));
        QCOMPARE(detectSwings(candles, INT_MIN, INT_MIN).lows.size(), 6U);
        QVERIFY(detectSwings(candles, 6, -6).highs.empty() && detectSwings({}, 0, 0).highs.empty());
        QVERIFY(detectSwings(candles, INT_MAX, INT_MAX).lows.empty());
    }

    void volumeBuckets()
    {
        // From 0 to 10; typical prices 2.5, 7.5, 2.5: of ten buckets the third holds 1 + 3.
        const auto threeBars = [](double volume) {
            return CandleList{bar(10, 0, -2.5, 1), bar(8.5, 6.5, 7.5, volume), bar(3.5, 1.5, 2.5, 3)};
        };
        const Candle middle = bar(10, 0, 5, 1); // typical price 5
        const struct
        {
            const char *name;
            CandleList candles;
            int buckets;
            std::optional<double> expected;
        } rows[] = {
            {"volumes of one bucket add up", threeBars(3), 10, 2.5},
            {"the lowest of equals", threeBars(4), 10, 2.5},
            {"the largest", threeBars(4.5), 10, 7.5},
            {"one bucket", threeBars(3), 1, 5},
            {"the very top counts in the last bucket", {bar(10, 0, 5, 1), bar(10, 10, 10, 2)}, 10, 9.5},
            {"without volume the lowest bucket", {bar(10, 0, 5, 0), bar(9, 8, 8, 0)}, 10, 0.5},
            {"an empty bucket beats less than nothing", {bar(10, 0, -10, -0.5)}, 10, 1.5},
            {"a bucket below -1 never wins", {bar(10, 0, 5, -7)}, 1, 5},
            {"nor does one that is no number", {bar(10, 0, -10, qQNaN()), middle}, 10, 5.5},
            {"a typical price above the top", {bar(10, 0, 1e308, 2), middle}, 10, 9.5},
            {"a typical price below all", {bar(10, 0, -qInf(), 2), middle}, 10, 0.5},
            {"a typical price that is no number", {bar(10, 0, qQNaN(), 2), middle}, 10, 0.5},
            {"no bucket", threeBars(3), 0, {}},
            {"no candle", {}, 10, {}},
            {"a flat price", CandleList(5, bar(7, 7, 7, 9)), 10, {}},
        };
        forEachRow(rows, [](const auto &row) {
            const auto actual = volumePOC(row.candles, row.buckets);
            QCOMPARE(actual.has_value(), row.expected.has_value());
            QCOMPARE(actual.value_or(0), row.expected.value_or(0));
        });
        // Huge bucket counts take no memory of their size.
        QVERIFY(closeTo(volumePOC(CandleList{middle}, INT_MAX).value(), 5, 1e-8));
        QCOMPARE(volumePOC(CandleList{bar(60, 0, 30, 1)}).value(), 30.5); // sixty by default
    }

    void zoneHalfWidth()
    {
        const struct
        {
            double price, tick, expected;
        } rows[] = {
            {65000, 0, 50},  {10000, 0, 50},   {9999.99, 0, 3},    {1000, 0, 3},          {999.99, 0, 1},
            {100, 0, 1},     {99.99, 0, 0.3},  {10, 0, 0.3},       {9.99, 0, 0.03},       {1, 0, 0.03},
            {0.5, 0, 0.003}, {0.01, 0, 0.003}, {0.00999, 0, 1e-4}, {1e-9, 0, 1e-4},       {12, 0.01, 0.03},
            {2, 0.01, 0.01}, {0, 0.01, 0.01},  {-5, 0, 0},         {qQNaN(), 0.01, 0.01}, {qInf(), 0, 50},
            {100, -0.01, 1},
        };
        for (const auto &[price, tick, expected] : rows)
            QVERIFY2(closeTo(getZoneHW(price, tick), expected, 1e-15), qPrintable(QString::number(price)));
    }
};

KESTRUNE_TEST(LevelsTest)
#include "tst_levels.moc"
