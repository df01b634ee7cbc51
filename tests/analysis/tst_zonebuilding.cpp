// SPDX-License-Identifier: MIT
#include "analysis/randomcandles.h"
#include "analysis/zonebuilding.h"
#include "support/rows.h"
#include "support/testregistry.h"

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class ZoneBuildingTest : public QObject
{
    Q_OBJECT

    /// Edges, middle and labels.
    static QString bandText(const Zone &zone)
    {
        return u"%1..%2 %3 "_s.arg(zone.lo).arg(zone.hi).arg(zone.mid) + zone.names.join(u',');
    }

    /// The labels of swing points, each with its zone's middle.
    static QString swingText(const std::vector<Zone> &zones)
    {
        QStringList texts;
        for (const Zone &zone : zones) {
            for (qsizetype i = 0; i < zone.names.size(); ++i) {
                if (zone.sources[i] == u"swing"_s)
                    texts += zone.names[i] + QString::number(zone.mid);
            }
        }
        return texts.join(u' ');
    }

    /// Twelve levels of which all but the given ones lie far below; with a price of 100 the half-width is 1.
    static std::vector<Zone> mergeAround(double r3, double r2, double r1, double price = 100)
    {
        const Pivot pivot{r3, r2, r1, -1000, -2000, -3000, -4000};
        const FibResult fib{{-5000, -6000, -7000, -8000, -9000}, {}, 0, 0};
        auto zones = mergeLevels(pivot, fib, price);
        std::erase_if(zones, [](const Zone &zone) { return zone.mid < 0; });
        return zones;
    }

    /// A quiet market at 100 with single spikes, which alone are swing points, five bars apart.
    static CandleList spikes(const std::vector<double> &highs, const std::vector<double> &lows = {})
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

private Q_SLOTS:
    void everyZoneHasItsOwnRandomId()
    {
        const QUuid id = Zone(1, 3, 2, {u"R1"_s}).id;
        QVERIFY(id != Zone(1, 3, 2, {u"R1"_s}).id);
        QVERIFY(id.version() == QUuid::Random && id.variant() == QUuid::DCE);
    }

    void tooFewCandlesGiveNothing()
    {
        QVERIFY(buildZones(CandleList{bar(110, 90, 100)}, 100).empty());
        QVERIFY(buildZones(CandleLevels(), 100).empty() && buildZones(CandleList{}, 100).empty());
        QVERIFY(!buildZones(CandleList(2, bar(110, 90, 100)), 100).empty());
    }

    void handWorkedLists()
    {
        const auto described = [](const std::vector<Zone> &zones) {
            QString text;
            for (const Zone &zone : zones) {
                text += bandText(zone) + u" %1 "_s.arg(zone.distPct) + zone.type + zone.strength +
                        (zone.isGolden ? u" gold\n"_s : u"\n"_s);
            }
            return text;
        };
        // Pivots of the first bar: 130 120 110 100 90 80 70. Retracement 110 to 90, close 104 above 100, so
        // from the top: 105.28 102.36 100 97.64 94.28. Sixty buckets of 1/3 from 90: typical prices 100
        // (volume 1) and (106 + 98 + 104) / 3 = 102.667 (volume 9), bucket 38: centre 90 + 38.5 / 3 =
        // 102.8333. Half-width 1. Bands 103.83..101.83 and 103.36..101.36 join, 101..99 no more.
        const auto zones = buildZones(CandleList{bar(110, 90, 100, 1), bar(106, 98, 104, 9)}, 100);
        QCOMPARE(described(zones), u"129..131 130 R3 30 resistance强阻力\n"
                                   u"119..121 120 R2 20 resistance强阻力\n"
                                   u"109..111 110 R1 10 resistance强阻力\n"
                                   u"104.28..106.28 105.28 Fib 0.236 5.28 resistance中等阻力\n"
                                   u"101.36..103.833 102.597 量能POC,Fib 0.382 2.59667 resistance短期阻力\n"
                                   u"99..101 100 PP,Fib 0.500 0 current当前价位\n"
                                   u"96.64..98.64 97.64 Fib 0.618 -2.36 support短期支撑 gold\n"
                                   u"93.28..95.28 94.28 Fib 0.786 -5.72 support中等支撑\n"
                                   u"89..91 90 S1 -10 support强支撑\n"
                                   u"79..81 80 S2 -20 support强支撑\n"
                                   u"69..71 70 S3 -30 support强支撑\n"_s);
        QCOMPARE(zones[4].sources, (QStringList{u"vol"_s, u"fib"_s}));
        QCOMPARE(zones[5].sources, (QStringList{u"pivot"_s, u"fib"_s}));
        // A flat stock: all levels are one price, without a point of control; half-width 5 * 0.0025.
        QCOMPARE(described(buildZones(CandleList(30, bar(5, 5, 5, 2)), 5, 0.01)),
                 u"4.9875..5.0125 5 R3,R2,R1,PP,S1,S2,S3,Fib 0.236,Fib 0.382,Fib 0.500,Fib 0.618,Fib 0.786"
                 u" 0 current当前价位 gold\n"_s);
    }

    void merging()
    {
        const struct
        {
            const char *name;
            double r3, r2, r1;
            QString expected;
        } rows[] = {
            {"touching edges join, the higher first", 100, 102, 50, u"99..103 101 R2,R3; 49..51 50 R1"_s},
            {"a chain becomes one zone", 101, 100.5, 99, u"98..102 100 R3,R2,R1"_s},
            {"a gap keeps apart", 101, 98.9, 50, u"100..102 101 R3; 97.9..99.9 98.9 R2; 49..51 50 R1"_s},
            {"equal lower edges keep their order", 99, 101, 99, u"98..102 100 R2,R3,R1"_s},
            {"points touch too", 1e18, 50, 1e18, u"1e+18..1e+18 1e+18 R3,R1; 49..51 50 R2"_s},
            {"what is no number stays alone, last and in order", qQNaN(), 100, qQNaN(),
             u"99..101 100 R2; nan..nan nan R3; nan..nan nan R1"_s},
            {"a middle beyond all numbers goes to the top", 1.7e308, 1.2e308, 1.2e308,
             u"1.2e+308..1.2e+308 inf R2,R1; 1.7e+308..1.7e+308 1.7e+308 R3"_s},
        };
        forEachRow(rows, [](const auto &row) {
            QStringList texts;
            for (const Zone &zone : mergeAround(row.r3, row.r2, row.r1)) {
                QCOMPARE(zone.confirm, static_cast<int>(zone.names.size()));
                QVERIFY(zone.sources.isEmpty());
                texts += bandText(zone);
            }
            QCOMPARE(texts.join(u"; "_s), row.expected);
        });
    }

    /// Above 2^43 doubles are 1/512 apart. With a half-width of half that, every edge is a tie, which rounds
    /// to the even neighbour: bands of even prices shrink to a point, bands of odd ones reach both
    /// neighbours. So the band of an odd price, listed after the even one below it with the same lower edge,
    /// touches the zone above both.
    void anEarlierZoneTakesABandThatRoundingWidened()
    {
        const double base = 0x1p43 + 1;
        const double step = 0x1p-9;
        const double price = -1; // a price not above 0: the half-width is the price step
        const Pivot pivot{base + 2 * step, base, base + step, 0, 0, 0, 0};
        const auto zones = mergeLevels(pivot, FibResult(), price, step / 2);
        QVERIFY(zones.size() == 3 && zones[0].names.join(u' ') == u"R3 R1" && zones[1].names[0] == u"R2");
    }

    void standing()
    {
        const struct
        {
            const char *name;
            double level, price;
            QString standing;
        } rows[] = {
            {"0.149 % above", 100149, 100000, u"current当前价位"_s},
            {"0.15 % above", 100150, 100000, u"resistance短期阻力"_s},
            {"0.15 % below", 99850, 100000, u"support短期支撑"_s},
            {"3 % above is still short-term", 824, 800, u"resistance短期阻力"_s},
            {"beyond 3 % above", 824.1, 800, u"resistance中等阻力"_s},
            {"6 % above is still medium", 848, 800, u"resistance中等阻力"_s},
            {"beyond 6 % above", 848.1, 800, u"resistance强阻力"_s},
            {"beyond 6 % below", 751.9, 800, u"support强支撑"_s},
            {"a price that is no number has supports only", 800, qQNaN(), u"support短期支撑"_s},
            {"a price of zero is infinitely far away", 800, 0, u"resistance强阻力"_s},
        };
        forEachRow(rows, [](const auto &row) {
            const Zone zone = mergeAround(row.level, row.level, row.level, row.price).front();
            QCOMPARE(zone.type + zone.strength, row.standing);
        });
    }

    void swingFilters()
    {
        const struct
        {
            const char *name;
            CandleList candles;
            double price;
            QString expected;
        } rows[] = {
            {"highs 0.9 % apart: the lower stays", spikes({109, 108.1}), 100, u"前高108.1"_s},
            {"highs 1 % apart: both stay", spikes({110, 109, 114}), 100, u"前高114 前高109.5 前高109.5"_s},
            {"against the last kept", spikes({105, 105.9, 106.8, 107.7}), 100, u"前高105.9 前高105.9"_s},
            {"lows are thinned upwards", spikes({}, {88, 85.5, 85}), 100, u"前低88 前低85"_s},
            {"a high 18 % above stays, beyond it goes", spikes({118, 118.1, 130}), 100, u"前高118"_s},
            {"a low 18 % below stays, beyond it goes", spikes({}, {82, 81.9, 70}), 100, u"前低82"_s},
            {"the ceiling is 101 + 18.18, not 101 * 1.18", spikes({119.18}), 101, u"前高119.18"_s},
            {"the floor is 103 - 18.54, not 103 * 0.82", spikes({}, {84.46}), 103, {}},
            {"a high far below stays", spikes({110}), 300, u"前高110"_s},
            {"a low far above stays", spikes({}, {90}), 50, u"前低90"_s},
        };
        forEachRow(rows, [](const auto &row) {
            QCOMPARE(swingText(buildZones(row.candles, row.price)), row.expected);
        });
    }
};

KESTRUNE_TEST(ZoneBuildingTest)
#include "tst_zonebuilding.moc"
