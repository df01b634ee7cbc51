// SPDX-License-Identifier: MIT
#include "analysis/allocationcounter.h"
#include "analysis/plainzones.h"
#include "analysis/randomcandles.h"
#include "analysis/zonebuilding.h"
#include "support/testregistry.h"

#include <QTest>

#include <algorithm>
#include <ctime>
#include <limits>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

/// Equal, or both no number. The sign of a zero is not told: sorting equal prices may exchange them.
bool sameNumber(double a, double b)
{
    return a == b || (a != a && b != b);
}

QStringList list(const TextList &texts)
{
    return {texts.begin(), texts.end()};
}

bool sameZone(const Zone &a, const PlainZone &b)
{
    return sameNumber(a.lo, b.lo) && sameNumber(a.hi, b.hi) && sameNumber(a.mid, b.mid) &&
           sameNumber(a.distPct, b.distPct) && a.confirm == b.confirm && a.isGolden == b.isGolden &&
           a.type == b.type && a.strength == b.strength && list(a.names) == b.names &&
           list(a.sources) == b.sources;
}

bool sameZones(const std::vector<Zone> &a, const std::vector<PlainZone> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), sameZone);
}

/// One line per zone: edges, middle, distance, mark, side, strength, labels.
QStringList described(const std::vector<Zone> &zones)
{
    QStringList lines;
    for (const Zone &zone : zones) {
        lines += u"%1..%2 %3 %4%5 %6 %7: %8"_s.arg(zone.lo)
                     .arg(zone.hi)
                     .arg(zone.mid)
                     .arg(zone.distPct)
                     .arg(zone.isGolden ? u" gold"_s : QString(), zone.type, zone.strength,
                          list(zone.names).join(u", "_s));
    }
    return lines;
}

/// Twelve levels of which all but the given ones lie far below; with a price of 100 the half-width is 1.
std::vector<Zone> mergeAround(double r3, double r2, double r1, double price = 100)
{
    const Pivot pivot{r3, r2, r1, -1000, -2000, -3000, -4000};
    FibResult fib;
    fib.levels = {-5000, -6000, -7000, -8000, -9000};
    auto zones = mergeLevels(pivot, fib, price);
    std::erase_if(zones, [](const Zone &zone) { return zone.mid < 0; });
    return zones;
}

Candle bar(double h, double l, double c, double v = 1)
{
    return {0, c, h, l, c, v};
}

/// A quiet market at 100 with single spikes, which alone are swing points, five bars apart.
CandleList spikes(const std::vector<double> &highs, const std::vector<double> &lows = {})
{
    CandleList candles(5, bar(100, 100, 100));
    const auto spike = [&candles](double high, double low) {
        candles.push_back(bar(high, low, 100));
        candles.insert(candles.end(), 4, bar(100, 100, 100));
    };
    for (const double high : highs)
        spike(high, 100);
    for (const double low : lows)
        spike(100, low);
    candles.insert(candles.end(), 20, bar(100, 100, 100));
    return candles;
}

QStringList swingTexts(const std::vector<Zone> &zones)
{
    QStringList texts;
    for (const Zone &zone : zones) {
        for (std::size_t i = 0; i < zone.names.size(); ++i) {
            if (zone.sources[i] == u"swing"_s)
                texts += zone.names[i] + QString::number(zone.mid);
        }
    }
    return texts;
}

} // namespace

class ZoneBuildingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tooFewCandlesGiveNothing();
    void handWorkedList_data();
    void handWorkedList();
    void merging_data();
    void merging();
    void anEarlierZoneTakesABandThatRoundingWidened();
    void standing_data();
    void standing();
    void swingFilters_data();
    void swingFilters();
    void mergeLevelsHasNoSources();
    void equalsThePlainVersion_data();
    void equalsThePlainVersion();
    void staysBoundedForManyCandles();
    void allocatesTheListAndOneTextBlock();
};

void ZoneBuildingTest::tooFewCandlesGiveNothing()
{
    QVERIFY(buildZones(CandleList{}, 100).empty());
    QVERIFY(buildZones(CandleList{bar(110, 90, 100)}, 100).empty());
    QVERIFY(buildZones(CandleLevels(), 100).empty());
    QVERIFY(!CandleLevels(CandleList{bar(110, 90, 100)}).sufficient());
    QVERIFY(!buildZones(CandleList(2, bar(110, 90, 100)), 100).empty());
}

void ZoneBuildingTest::handWorkedList_data()
{
    QTest::addColumn<CandleList>("candles");
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("tick");
    QTest::addColumn<QStringList>("expected");

    // Pivots of the first bar: 130 120 110 100 90 80 70. Retracement 110 to 90, close 104 above 100, so from
    // the top: 105.28 102.36 100 97.64 94.28. Sixty buckets of 1/3 from 90: typical prices 100 (volume 1) and
    // (106 + 98 + 104) / 3 = 102.667 (volume 9), bucket 38: centre 90 + 38.5 / 3 = 102.8333. Half-width 1.
    // Bands 103.83..101.83 and 103.36..101.36 join; 101..99 twice joins them no more (101 < 101.36).
    QTest::newRow("two bars, crypto")
        << CandleList{bar(110, 90, 100, 1), bar(106, 98, 104, 9)} << 100.0 << 0.0
        << QStringList{u"129..131 130 30 resistance 强阻力: R3"_s,
                       u"119..121 120 20 resistance 强阻力: R2"_s,
                       u"109..111 110 10 resistance 强阻力: R1"_s,
                       u"104.28..106.28 105.28 5.28 resistance 中等阻力: Fib 0.236"_s,
                       u"101.36..103.833 102.597 2.59667 resistance 短期阻力: 量能POC, Fib 0.382"_s,
                       u"99..101 100 0 current 当前价位: PP, Fib 0.500"_s,
                       u"96.64..98.64 97.64 -2.36 gold support 短期支撑: Fib 0.618"_s,
                       u"93.28..95.28 94.28 -5.72 support 中等支撑: Fib 0.786"_s,
                       u"89..91 90 -10 support 强支撑: S1"_s,
                       u"79..81 80 -20 support 强支撑: S2"_s,
                       u"69..71 70 -30 support 强支撑: S3"_s};
    // The same bars as a stock at 104: half-width 104 * 0.0025 = 0.26, so 102.83 and 102.36 touch no more by
    // the half-widths (102.57..103.09 and 102.1..102.62 do overlap).
    QTest::newRow("two bars, stock")
        << CandleList{bar(110, 90, 100, 1), bar(106, 98, 104, 9)} << 104.0 << 0.01
        << QStringList{u"129.74..130.26 130 25 resistance 强阻力: R3"_s,
                       u"119.74..120.26 120 15.3846 resistance 强阻力: R2"_s,
                       u"109.74..110.26 110 5.76923 resistance 中等阻力: R1"_s,
                       u"105.02..105.54 105.28 1.23077 resistance 短期阻力: Fib 0.236"_s,
                       u"102.1..103.093 102.597 -1.34936 support 短期支撑: 量能POC, Fib 0.382"_s,
                       u"99.74..100.26 100 -3.84615 support 中等支撑: PP, Fib 0.500"_s,
                       u"97.38..97.9 97.64 -6.11538 gold support 强支撑: Fib 0.618"_s,
                       u"94.02..94.54 94.28 -9.34615 support 强支撑: Fib 0.786"_s,
                       u"89.74..90.26 90 -13.4615 support 强支撑: S1"_s,
                       u"79.74..80.26 80 -23.0769 support 强支撑: S2"_s,
                       u"69.74..70.26 70 -32.6923 support 强支撑: S3"_s};
    // A flat market: all pivots and retracement levels are one price, there is no point of control.
    QTest::newRow("one price throughout")
        << CandleList(30, bar(5, 5, 5, 2)) << 5.0 << 0.0
        << QStringList{
               u"4.97..5.03 5 0 gold current 当前价位: "_s +
               u"R3, R2, R1, PP, S1, S2, S3, Fib 0.236, Fib 0.382, Fib 0.500, Fib 0.618, Fib 0.786"_s};
}

void ZoneBuildingTest::handWorkedList()
{
    QFETCH(CandleList, candles);
    QFETCH(double, price);
    QFETCH(double, tick);
    QFETCH(QStringList, expected);
    QCOMPARE(described(buildZones(candles, price, tick)), expected);
    QCOMPARE(described(buildZones(CandleLevels(candles), price, tick)), expected);
}

void ZoneBuildingTest::merging_data()
{
    QTest::addColumn<QList<double>>("levels");
    QTest::addColumn<double>("price");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("touching edges join, the higher label first")
        << QList<double>{60000, 60100, 50000} << 60000.0
        << QStringList{u"59950..60150 60050: R2, R3"_s, u"49950..50050 50000: R1"_s};
    QTest::newRow("a chain becomes one zone")
        << QList<double>{101, 100.5, 99} << 100.0 << QStringList{u"98..102 100: R3, R2, R1"_s};
    QTest::newRow("a gap keeps zones apart")
        << QList<double>{101, 98.9, 50} << 100.0
        << QStringList{u"100..102 101: R3"_s, u"97.9..99.9 98.9: R2"_s, u"49..51 50: R1"_s};
    QTest::newRow("equal levels keep their order")
        << QList<double>{99, 101, 99} << 100.0 << QStringList{u"98..102 100: R2, R3, R1"_s};
}

void ZoneBuildingTest::merging()
{
    QFETCH(QList<double>, levels);
    QFETCH(double, price);
    QStringList actual;
    for (const Zone &zone : mergeAround(levels[0], levels[1], levels[2], price)) {
        QCOMPARE(zone.confirm, static_cast<int>(zone.names.size()));
        actual += u"%1..%2 %3: %4"_s.arg(zone.lo, 0, 'g', 8)
                      .arg(zone.hi, 0, 'g', 8)
                      .arg(zone.mid, 0, 'g', 8)
                      .arg(list(zone.names).join(u", "_s));
    }
    QTEST(actual, "expected");
}

/// Above 2^43 doubles are 1/512 apart. With a half-width of half that, every edge is a tie, which rounds to
/// the even neighbour: bands of even prices shrink to a point, bands of odd ones reach both neighbours. So
/// the band of an odd price, listed after the even one below it with the same lower edge, touches the zone
/// above both.
void ZoneBuildingTest::anEarlierZoneTakesABandThatRoundingWidened()
{
    const double base = 0x1p43 + 1;
    const double step = 0x1p-9;
    const double price = -1; // a price not above 0: the half-width is the price step
    const double tick = step / 2;
    const Pivot pivot{base + 2 * step, base, base + step, 0, 0, 0, 0};
    const FibResult fib;
    const auto zones = mergeLevels(pivot, fib, price, tick);
    QVERIFY(sameZones(zones, plainMergeLevels(pivot, fib, price, tick)));
    QCOMPARE(zones.size(), 3U);
    QCOMPARE(list(zones[0].names), (QStringList{u"R3"_s, u"R1"_s}));
    QCOMPARE(list(zones[1].names), (QStringList{u"R2"_s}));
}

void ZoneBuildingTest::standing_data()
{
    QTest::addColumn<double>("level");
    QTest::addColumn<double>("price");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("strength");
    const auto row = [](const char *name, double level, double price, const QString &type,
                        const QString &strength) {
        QTest::newRow(name) << level << price << type << strength;
    };
    row("at the price", 800, 800, u"current"_s, u"当前价位"_s);
    row("0.149 % above", 100149, 100000, u"current"_s, u"当前价位"_s);
    row("0.149 % below", 99851, 100000, u"current"_s, u"当前价位"_s);
    row("0.15 % above", 100150, 100000, u"resistance"_s, u"短期阻力"_s);
    row("0.15 % below", 99850, 100000, u"support"_s, u"短期支撑"_s);
    row("3 % above is still short-term", 824, 800, u"resistance"_s, u"短期阻力"_s);
    row("3 % below is still short-term", 776, 800, u"support"_s, u"短期支撑"_s);
    row("beyond 3 % above", 824.1, 800, u"resistance"_s, u"中等阻力"_s);
    row("6 % above is still medium", 848, 800, u"resistance"_s, u"中等阻力"_s);
    row("6 % below is still medium", 752, 800, u"support"_s, u"中等支撑"_s);
    row("beyond 6 % above", 848.1, 800, u"resistance"_s, u"强阻力"_s);
    row("beyond 6 % below", 751.9, 800, u"support"_s, u"强支撑"_s);
    row("a price that is no number has supports only", 800, notANumber, u"support"_s, u"短期支撑"_s);
    row("a price of zero is infinitely far away", 800, 0, u"resistance"_s, u"强阻力"_s);
}

void ZoneBuildingTest::standing()
{
    QFETCH(double, level);
    QFETCH(double, price);
    const Zone zone = mergeAround(level, level, level, price).front();
    QTEST(zone.type, "type");
    QTEST(zone.strength, "strength");
}

void ZoneBuildingTest::swingFilters_data()
{
    QTest::addColumn<CandleList>("candles");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("highs 0.9 % apart: the lower stays")
        << spikes({109, 108.1}) << QStringList{u"前高108.1"_s};
    QTest::newRow("highs 1 % apart: both stay")
        << spikes({110, 109, 112.5}) << QStringList{u"前高112.5"_s, u"前高109.5"_s, u"前高109.5"_s};
    QTest::newRow("thinning compares with the last one kept")
        << spikes({105, 105.9, 106.8, 107.7}) << QStringList{u"前高105.9"_s, u"前高105.9"_s};
    QTest::newRow("a high 18 % above stays, beyond it goes")
        << spikes({118, 118.1, 130}) << QStringList{u"前高118"_s};
    QTest::newRow("a low 18 % below stays, beyond it goes")
        << spikes({}, {82, 81.9, 70}) << QStringList{u"前低82"_s};
}

void ZoneBuildingTest::swingFilters()
{
    QFETCH(CandleList, candles);
    QTEST(swingTexts(buildZones(candles, 100)), "expected");
}

void ZoneBuildingTest::mergeLevelsHasNoSources()
{
    std::mt19937_64 random(17);
    for (int run = 0; run < 500; ++run) {
        const CandleList candles = randomCandles(random, 25, 400);
        const Pivot pivot = calcPivot(candles[3].h, candles[3].l, candles[3].c);
        const FibResult fib = calcFibonacci(candles);
        const auto zones = mergeLevels(pivot, fib, 400, run % 2 ? 0.01 : 0);
        QVERIFY(sameZones(zones, plainMergeLevels(pivot, fib, 400, run % 2 ? 0.01 : 0)));
        for (const Zone &zone : zones)
            QVERIFY(zone.sources.empty());
    }
}

void ZoneBuildingTest::equalsThePlainVersion_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<double>("level");
    QTest::addColumn<double>("tick");
    const auto row = [](const char *name, CandleKind kind, double level, double tick) {
        QTest::newRow(name) << static_cast<int>(kind) << level << tick;
    };
    row("a crypto market", CandleKind::walk, 62000, 0);
    row("a stock", CandleKind::walk, 1510, 0.01);
    row("a penny stock", CandleKind::walk, 0.6, 0.01);
    row("a tiny price", CandleKind::walk, 4e-9, 0);
    row("a huge price", CandleKind::walk, 3e200, 0);
    row("half-widths near the spacing of doubles", CandleKind::walk, 5e17, 0);
    row("many equal prices", CandleKind::coarse, 90, 0);
    row("no movement", CandleKind::still, 90, 0);
    row("any doubles at all", CandleKind::hostile, 5, 0);
    row("any doubles at all, as a stock", CandleKind::hostile, 5, 0.01);
    row("any doubles at all, with an odd step", CandleKind::hostile, 5, -1);
}

void ZoneBuildingTest::equalsThePlainVersion()
{
    QFETCH(int, kind);
    QFETCH(double, level);
    QFETCH(double, tick);
    std::mt19937_64 random(23);
    for (int run = 0; run < 400; ++run) {
        const std::size_t count = run < 350 ? random() % 330 : 1000 + random() % 1000;
        const CandleList candles = randomCandles(random, count, level, static_cast<CandleKind>(kind));
        const CandleLevels levels(candles);
        const double last = candles.empty() ? level : candles.back().c;
        for (const double price : {last, last * 1.07, last * 0.8, last * 30, last / 30, 0.0, -level, 1e-300,
                                   1e300, infinity, -infinity, notANumber}) {
            const auto expected = plainBuildZones(candles, price, tick);
            QVERIFY2(sameZones(buildZones(candles, price, tick), expected),
                     qPrintable(u"run %1, price %2"_s.arg(run).arg(price)));
            QVERIFY2(sameZones(buildZones(levels, price, tick), expected),
                     qPrintable(u"run %1, price %2, kept levels"_s.arg(run).arg(price)));
        }
    }
}

void ZoneBuildingTest::staysBoundedForManyCandles()
{
    std::mt19937_64 random(29);
    const CandleList candles = randomCandles(random, 100'000, 1e6);
    const std::clock_t start = std::clock(); // processor time: other programs must not fail this
    // Every swing low lies above such a price and far enough from the next: tens of thousands of zones.
    const auto zones = buildZones(candles, 1e-3);
    QVERIFY(zones.size() > 5'000);
    QVERIFY(!buildZones(candles, 0, 0).empty());
    QVERIFY(!buildZones(candles, -1, 0).empty());
    QVERIFY((std::clock() - start) / CLOCKS_PER_SEC < 5);
}

void ZoneBuildingTest::allocatesTheListAndOneTextBlock()
{
    if (!countsAllocations())
        QSKIP("the sanitizer's allocator cannot be counted");
    std::mt19937_64 random(31);
    (void)buildZones(randomCandles(random, 10, 100), 100); // the texts and the generator are set up once
    for (const std::size_t count : {2U, 7U, 200U, 320U}) {
        const CandleList candles = randomCandles(random, count, 2500);
        const CandleLevels levels(candles);
        std::size_t before = allocationCount();
        const auto fresh = buildZones(candles, 2500);
        QCOMPARE(allocationCount() - before, 2U);
        before = allocationCount();
        const auto tick = buildZones(levels, 2501);
        QCOMPARE(allocationCount() - before, 2U);
        before = allocationCount();
        const auto copy = tick;
        QCOMPARE(allocationCount() - before, 1U);
    }
}

KESTRUNE_TEST(ZoneBuildingTest)
#include "tst_zonebuilding.moc"
