// SPDX-License-Identifier: MIT
#include "analysis/levels.h"
#include "analysis/plainzones.h"
#include "analysis/randomcandles.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr int intMax = std::numeric_limits<int>::max();
constexpr int intMin = std::numeric_limits<int>::min();

using Values = std::vector<double>;

Candle bar(double h, double l, double c, double v = 1)
{
    return {0, c, h, l, c, v};
}

/// Bars with the given highs; every low is 0.
CandleList withHighs(const Values &highs)
{
    CandleList candles;
    for (const double high : highs)
        candles.push_back(bar(high, 0, 0));
    return candles;
}

} // namespace

class LevelsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void floorPivots();
    void retracementOfTheLastTwentyBars();
    void retracementDirections();
    void retracementOfNothing();
    void swingHighs_data();
    void swingHighs();
    void swingsWithOddReaches();
    void swingsEqualThePlainSearch();
    void volumeBuckets();
    void volumeOfOddCandles();
    void volumeEqualsThePlainCount();
    void zoneHalfWidth_data();
    void zoneHalfWidth();
};

void LevelsTest::floorPivots()
{
    // An uneven bar tells the terms apart: pp 98, by hand from the formulas.
    const Pivot uneven = calcPivot(112, 90, 92);
    QCOMPARE((Values{uneven.r3, uneven.r2, uneven.r1, uneven.pp, uneven.s1, uneven.s2, uneven.s3}),
             (Values{128, 120, 106, 98, 84, 76, 62}));
}

void LevelsTest::retracementOfTheLastTwentyBars()
{
    CandleList candles(5, bar(500, 1, 300)); // too old to count
    candles.resize(24, bar(120, 100, 105));
    candles.push_back(bar(119, 101, 110));
    const FibResult fib = calcFibonacci(candles);
    QCOMPARE(fib.swingHigh, 120.0);
    QCOMPARE(fib.swingLow, 100.0);
    QCOMPARE(fib.trend, u"up"_s); // a close exactly in the middle is up
    QCOMPARE(calcFibonacci(candles, 25).swingHigh, 500.0);
    QCOMPARE(calcFibonacci(candles, intMax).swingLow, 1.0);
}

void LevelsTest::retracementDirections()
{
    const CandleList up{bar(120, 100, 120)};
    const CandleList down{bar(120, 100, 101)};
    const Values expectedUp{115.28, 112.36, 110, 107.64, 104.28};
    for (std::size_t i = 0; i < expectedUp.size(); ++i) {
        QVERIFY(closeTo(calcFibonacci(up).levels[i], expectedUp[i], 1e-12));
        QVERIFY(closeTo(calcFibonacci(down).levels[i], 220 - expectedUp[i], 1e-12));
    }
    QCOMPARE(calcFibonacci(down).trend, u"down"_s);
    QVERIFY(closeTo(calcFibonacci(up).level("0.618").value(), 107.64, 1e-12));
    QVERIFY(closeTo(calcFibonacci(down).level("0.618").value(), 112.36, 1e-12));
    QVERIFY(!calcFibonacci(up).level("0.5"));
}

void LevelsTest::retracementOfNothing()
{
    for (const FibResult &fib : {calcFibonacci({}), calcFibonacci(CandleList{bar(3, 1, 2)}, 0)}) {
        QCOMPARE(fib.swingHigh, -infinity);
        QCOMPARE(fib.swingLow, infinity);
        QCOMPARE(fib.trend, u"down"_s); // the middle is no number, and no comparison with it holds
    }
    const FibResult odd = calcFibonacci(CandleList{bar(3, 1, 2), bar(notANumber, notANumber, notANumber)});
    QCOMPARE(odd.swingHigh, 3.0);
    QCOMPARE(odd.trend, u"down"_s);
}

void LevelsTest::swingHighs_data()
{
    QTest::addColumn<Values>("highs");
    QTest::addColumn<Values>("expected");
    QTest::newRow("of seven bars only the middle one can be") << Values{1, 2, 3, 9, 3, 2, 1} << Values{9};
    QTest::newRow("a plateau is no swing point") << Values{1, 2, 3, 9, 9, 3, 2, 1} << Values{};
    QTest::newRow("an equal at the edge of the window disqualifies")
        << Values{9, 1, 1, 9, 1, 1, 1} << Values{};
    QTest::newRow("an equal beyond the window does not") << Values{9, 1, 1, 1, 9, 1, 1, 1} << Values{9};
    QTest::newRow("bar order, not price order") << Values{0, 0, 0, 9, 1, 1, 1, 5, 1, 1, 1} << Values{9, 5};
    QTest::newRow("a neighbour that is no number disqualifies")
        << Values{notANumber, 1, 1, 9, 1, 1, 1} << Values{};
}

void LevelsTest::swingHighs()
{
    QFETCH(Values, highs);
    const Swings swings = detectSwings(withHighs(highs));
    QTEST(swings.highs, "expected");
    QVERIFY(swings.lows.empty());

    CandleList mirrored; // the same upside down
    for (const double high : highs)
        mirrored.push_back(bar(0, -high, 0));
    Values lows;
    for (const double low : detectSwings(mirrored).lows)
        lows.push_back(-low);
    QTEST(lows, "expected");
}

void LevelsTest::swingsWithOddReaches()
{
    const CandleList candles = withHighs({4, 1, 3, 2, 5, 0});
    QCOMPARE(detectSwings(candles, 1, 1).highs, (Values{3, 5}));
    QCOMPARE(detectSwings(candles, 3, 0).highs, (Values{5}));
    QCOMPARE(detectSwings(candles, 0, 2).highs, (Values{4}));
    QCOMPARE(detectSwings(candles, 0, 0).highs.size(), 6U); // nothing to compare with
    QCOMPARE(detectSwings(candles, -4, 2).highs, (Values{4}));
    QCOMPARE(detectSwings(candles, intMin, intMin).lows.size(), 6U);
    for (const int reach : {6, intMax}) {
        QVERIFY(detectSwings(candles, reach, reach).highs.empty());
        QVERIFY(detectSwings(candles, reach, -reach).highs.empty());
        QVERIFY(detectSwings({}, reach, 0).lows.empty());
    }
    QVERIFY(detectSwings({}, 0, 0).highs.empty());
}

void LevelsTest::swingsEqualThePlainSearch()
{
    std::mt19937_64 random(3);
    for (std::size_t count = 0; count < 400; ++count) {
        for (const auto kind : {CandleKind::walk, CandleKind::coarse, CandleKind::hostile}) {
            const CandleList candles = randomCandles(random, count, 50, kind);
            for (const auto &[left, right] : {std::pair{3, 3}, {2, 5}, {0, 1}}) {
                const Swings actual = detectSwings(candles, left, right);
                const Swings expected = plainSwings(candles, left, right);
                QCOMPARE(actual.highs, expected.highs);
                QCOMPARE(actual.lows, expected.lows);
            }
        }
    }
}

void LevelsTest::volumeBuckets()
{
    // From 0 to 10 in ten buckets; typical prices 2.5, 7.5, 2.5: bucket 2 holds 1 + 3, bucket 7 holds 3.
    const CandleList candles{bar(10, 0, -2.5, 1), bar(8.5, 6.5, 7.5, 3), bar(3.5, 1.5, 2.5, 3)};
    QCOMPARE(volumePOC(candles, 10).value(), 2.5);
    CandleList equal = candles;
    equal[1].v = 4;
    QCOMPARE(volumePOC(equal, 10).value(), 2.5); // the lowest of equals
    equal[1].v = 4.5;
    QCOMPARE(volumePOC(equal, 10).value(), 7.5);
    QCOMPARE(volumePOC(candles, 1).value(), 5.0);
    QVERIFY(!volumePOC(candles, 0) && !volumePOC(candles, intMin) && !volumePOC({}, 10));
    QVERIFY(!volumePOC(CandleList(5, bar(7, 7, 7, 9)), 10)); // flat

    // A typical price at the very top counts in the last bucket.
    QCOMPARE(volumePOC(CandleList{bar(10, 0, 5, 1), bar(10, 10, 10, 2)}, 10).value(), 9.5);
    // Without any volume the lowest bucket wins.
    QCOMPARE(volumePOC(CandleList{bar(10, 0, 5, 0), bar(9, 8, 8, 0)}, 10).value(), 0.5);
}

void LevelsTest::volumeOfOddCandles()
{
    // Closes outside of high and low push the typical price beyond the ends; it counts in the end buckets.
    QCOMPARE(volumePOC(CandleList{bar(10, 0, 1e308, 2), bar(10, 0, 5, 1)}, 10).value(), 9.5);
    QCOMPARE(volumePOC(CandleList{bar(10, 0, -infinity, 2), bar(10, 0, 5, 1)}, 10).value(), 0.5);
    QCOMPARE(volumePOC(CandleList{bar(10, 0, notANumber, 2), bar(10, 0, 5, 1)}, 10).value(), 0.5);
    // A bucket whose volume is no number, or below -1, never wins.
    QCOMPARE(volumePOC(CandleList{bar(10, 0, -10, notANumber), bar(10, 0, 5, 1)}, 10).value(), 5.5);
    QCOMPARE(volumePOC(CandleList{bar(10, 0, 5, -7)}, 1).value(), 5.0);
    // Huge bucket counts take no memory of their size.
    QVERIFY(closeTo(volumePOC(CandleList{bar(10, 0, 5, 1)}, intMax).value(), 5, 1e-8));
    QVERIFY(closeTo(volumePOC(CandleList{bar(10, 0, 5, -1)}, intMax).value(), 0, 1e-8));
}

void LevelsTest::volumeEqualsThePlainCount()
{
    std::mt19937_64 random(5);
    for (int run = 0; run < 3000; ++run) {
        const CandleKind kind = run % 3 == 0 ? CandleKind::hostile : CandleKind::walk;
        const CandleList candles = randomCandles(random, random() % 300, run % 2 ? 3e-7 : 61000, kind);
        for (const int buckets : {60, 1, 256, 257, 3000}) {
            const auto actual = volumePOC(candles, buckets);
            const auto expected = plainPOC(candles, buckets);
            QCOMPARE(actual.has_value(), expected.has_value());
            QVERIFY(!actual || *actual == *expected || (*actual != *actual && *expected != *expected));
        }
    }
}

void LevelsTest::zoneHalfWidth_data()
{
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("tick");
    QTest::addColumn<double>("expected");
    const struct
    {
        double price, tick, expected;
    } rows[] = {{65000, 0, 50},     {10000, 0, 50},  {9999.99, 0, 3},          {1000, 0, 3},
                {999.99, 0, 1},     {100, 0, 1},     {99.99, 0, 0.3},          {10, 0, 0.3},
                {9.99, 0, 0.03},    {1, 0, 0.03},    {0.5, 0, 0.003},          {0.01, 0, 0.003},
                {0.00999, 0, 1e-4}, {1e-9, 0, 1e-4}, {12, 0.01, 0.03},         {2, 0.01, 0.01},
                {0, 0.01, 0.01},    {-5, 0, 0},      {notANumber, 0.01, 0.01}, {infinity, 0, 50},
                {100, -0.01, 1}};
    for (const auto &row : rows)
        QTest::addRow("%g with step %g", row.price, row.tick) << row.price << row.tick << row.expected;
}

void LevelsTest::zoneHalfWidth()
{
    QFETCH(double, price);
    QFETCH(double, tick);
    QFETCH(double, expected);
    QVERIFY(closeTo(getZoneHW(price, tick), expected, 1e-15));
}

KESTRUNE_TEST(LevelsTest)
#include "tst_levels.moc"
