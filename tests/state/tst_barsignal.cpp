// SPDX-License-Identifier: MIT
#include "state/barsignal.h"
#include "support/testregistry.h"

#include <QTest>

#include <cmath>
#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

using Distances = QList<double>;

std::vector<Zone> zonesAt(const Distances &supports, const Distances &resistances)
{
    std::vector<Zone> zones;
    for (const double distance : resistances)
        zones.emplace_back(1, 1, 1, QStringList{}, distance, 1, false, u"resistance"_s);
    for (const double distance : supports)
        zones.emplace_back(1, 1, 1, QStringList{}, distance, 1, false, u"support"_s);
    zones.emplace_back(1, 1, 1, QStringList{}, 0, 1, false, u"current"_s);
    return zones;
}

std::optional<double> absolute(std::optional<double> distance)
{
    return distance ? std::optional(std::abs(*distance)) : std::nullopt;
}

} // namespace

class BarSignalTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void light_data();
    void light();
    void nearestKeepsItsSignAndTheEarliestWins();
    void textsOfEachLight();
};

void BarSignalTest::light_data()
{
    QTest::addColumn<Distances>("supports");
    QTest::addColumn<Distances>("resistances");
    QTest::addColumn<double>("threshold");
    QTest::addColumn<BarSignal>("expected");
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();

    QTest::newRow("the nearer side wins within the threshold")
        << Distances{-3.1, -1.2} << Distances{0.8, 4.0} << 2.5 << BarSignal::sell;
    QTest::newRow("a tie goes to support") << Distances{-1.0} << Distances{1.0} << 2.5 << BarSignal::buy;
    QTest::newRow("the threshold itself is near, below")
        << Distances{-2.5} << Distances{} << 2.5 << BarSignal::buy;
    QTest::newRow("the threshold itself is near, above")
        << Distances{} << Distances{3.0} << 3.0 << BarSignal::sell;
    QTest::newRow("just beyond the threshold") << Distances{} << Distances{3.0} << 2.5 << BarSignal::neutral;
    QTest::newRow("both sides too far") << Distances{-9} << Distances{8} << 2.5 << BarSignal::neutral;
    QTest::newRow("no zones") << Distances{} << Distances{} << 2.5 << BarSignal::neutral;
    QTest::newRow("no zones and no bound") << Distances{} << Distances{} << 1e308 << BarSignal::neutral;
    QTest::newRow("a distance that is no number hides nothing")
        << Distances{nan} << Distances{nan, 1} << 2.5 << BarSignal::sell;
}

void BarSignalTest::light()
{
    QFETCH(Distances, supports);
    QFETCH(Distances, resistances);
    QFETCH(double, threshold);
    const std::vector<Zone> zones = zonesAt(supports, resistances);
    QTEST(barSignal(absolute(nearestDistPct(zones, u"support")),
                    absolute(nearestDistPct(zones, u"resistance")), threshold),
          "expected");
}

void BarSignalTest::nearestKeepsItsSignAndTheEarliestWins()
{
    const std::vector<Zone> zones = zonesAt({-3.1, -1.5, 1.5}, {});
    QCOMPARE(nearestDistPct(zones, u"support"), std::optional(-1.5));
    QCOMPARE(nearestDistPct(zones, u"resistance"), std::nullopt);
}

void BarSignalTest::textsOfEachLight()
{
    QCOMPARE(statusSymbol(BarSignal::buy), u"chevron.down.circle.fill"_s);
    QCOMPARE(statusText(BarSignal::buy), u"接近支撑区 · 偏买入"_s);
    QCOMPARE(statusColor(BarSignal::buy), NamedColor::green);
    QCOMPARE(statusSymbol(BarSignal::sell), u"chevron.up.circle.fill"_s);
    QCOMPARE(statusText(BarSignal::sell), u"接近阻力区 · 偏卖出"_s);
    QCOMPARE(statusColor(BarSignal::sell), NamedColor::red);
    QCOMPARE(statusSymbol(BarSignal::neutral), u"circle.fill"_s);
    QCOMPARE(statusText(BarSignal::neutral), u"中间区域 · 观望"_s);
    QCOMPARE(statusColor(BarSignal::neutral), NamedColor::secondary);
}

KESTRUNE_TEST(BarSignalTest)

#include "tst_barsignal.moc"
