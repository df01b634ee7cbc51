// SPDX-License-Identifier: MIT
#include "state/plainplans.h"
#include "state/planselection.h"
#include "support/testregistry.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

constexpr auto buy = TradeDirection::long_;
constexpr auto sell = TradeDirection::short_;

Zone zoneAt(double mid, const QString &type)
{
    return {mid, mid, mid, QStringList{}, 0, 1, false, type};
}

/// A market that owns what the inputs only look at.
struct Market
{
    std::vector<Zone> zones;
    std::vector<TimeframeSignal> snapshot;
    PlanInputs inputs{};

    Market(const QList<double> &supports, const QList<double> &resistances)
    {
        for (const double mid : resistances)
            zones.push_back(zoneAt(mid, u"resistance"_s));
        for (const double mid : supports)
            zones.push_back(zoneAt(mid, u"support"_s));
        inputs.settings.locale = QLocale(QLocale::English, QLocale::UnitedStates);
        inputs.price = 100;
        inputs.atr = 1;
    }
    void addSignals(std::initializer_list<SignalType> list)
    {
        for (const SignalType signal : list)
            snapshot.emplace_back(u"1H"_s, 0.0, signal, QString());
    }
    [[nodiscard]] PlanInputs view() const
    {
        PlanInputs result = inputs;
        result.zones = zones;
        result.snapshot = snapshot;
        return result;
    }
    [[nodiscard]] std::optional<TradePlan> live() const { return tradePlan(view()); }
    [[nodiscard]] std::optional<TradePlan> at(double entry, TradeDirection dir) const
    {
        return planForEntry(view(), entry, dir);
    }
};

/// Two supports below 100, two resistances above it, everything bullish.
Market twoSided()
{
    Market market({98, 95}, {104, 101});
    market.addSignals({SignalType::bull, SignalType::strongBull, SignalType::bull});
    return market;
}

/// Every field, numbers in full.
QString described(const std::optional<TradePlan> &plan)
{
    if (!plan)
        return u"no plan"_s;
    const auto number = [](double value) { return QString::number(value, 'g', 17); };
    const auto optional = [&](const std::optional<double> &value) {
        return value ? number(*value) : u"none"_s;
    };
    return QStringList{rawValue(plan->dir),
                       rawValue(plan->grade),
                       rawValue(plan->trend),
                       number(plan->entry),
                       optional(plan->tp),
                       number(plan->sl),
                       number(plan->tpPct),
                       number(plan->slPct),
                       number(plan->netRR),
                       number(plan->trailStep),
                       number(plan->costPct),
                       plan->headline,
                       plan->detail,
                       plan->tip,
                       plan->positionText.value_or(u"none"_s),
                       plan->sessionText.value_or(u"none"_s),
                       optional(plan->waitPrice)}
        .join(u'|');
}

} // namespace

class PlanSelectionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theBetterOfTwoCandidates();
    void warnedSessionsWidenTheStop();
    void oneSideOpen();
    void noPlanWithoutAPriceOrZones();
    void targetFarEnough_data();
    void targetFarEnough();
    void aTieKeepsTheLongPlan();
    void theStopPercentageHasAFloor();
    void chosenEntryLong();
    void chosenEntryShort();
    void agreesWithThePlainSelection();
};

void PlanSelectionTest::theBetterOfTwoCandidates()
{
    // Long: stop 98 - max(0.294, 0.5) = 97.5, target 101 at 1 %; 0.85 / 2.65 = 0.32.
    // Short: stop 101 + max(0.303, 0.5) = 101.5, target 98 at 2 % (0.6 needed); 1.85 / 1.65 = 1.12.
    Market market = twoSided();
    std::optional<TradePlan> plan = market.live();
    QVERIFY(plan);
    QCOMPARE(plan->detail, u"100.00 进 · 止盈 98.00（−2.00%） · 止损 101.50（+1.50%） · 净盈亏比 1.12"_s);
    QCOMPARE(plan->trend, TrendState::counter);
    QCOMPARE(plan->waitPrice, std::optional(101.0));

    // Shares are never sold short.
    market.inputs.settings.market = MarketSegment::cn;
    plan = market.live();
    QVERIFY(plan);
    QCOMPARE(plan->detail, u"100.00 进 · 止盈 101.00（+1.00%） · 止损 97.50（−2.50%） · 净盈亏比 0.32"_s);
    QCOMPARE(plan->trend, TrendState::aligned);
    QCOMPARE(plan->waitPrice, std::optional(98.0));
}

void PlanSelectionTest::warnedSessionsWidenTheStop()
{
    Market market = twoSided();
    market.inputs.settings.market = MarketSegment::cn;
    market.inputs.sessionWarning = u"临近"_s;
    QCOMPARE(market.live()->sl, 97.4); // 98 - 1.2 x 0.5
    QCOMPARE(market.live()->sessionText, u"临近"_s);
    // Without an ATR the 0.3 % of the zone count: 98 - 1.2 x 0.294.
    market.inputs.atr = std::nullopt;
    QVERIFY(test::closeTo(market.live()->sl, 97.6472, 1e-12));
}

void PlanSelectionTest::oneSideOpen()
{
    Market high = twoSided();
    high.inputs.price = 120;
    for (const MarketSegment segment : allMarketSegments) {
        high.inputs.settings.market = segment;
        // 98 - 0.5; an ATR of 1 trails.
        QCOMPARE(high.live()->detail, u"120.00 进 · 止损 97.50（−18.75%） · 每盈利 1.00 上移一次止损"_s);
        QCOMPARE(high.live()->dir, buy);
    }
    Market low = twoSided();
    low.inputs.price = 50;
    QCOMPARE(low.live()->detail, u"50.00 进 · 止损 101.50（+103.00%） · 每盈利 1.00 上移一次止损"_s);
    QCOMPARE(low.live()->dir, sell);
    low.inputs.settings.market = MarketSegment::hk;
    QVERIFY(!low.live());
}

void PlanSelectionTest::noPlanWithoutAPriceOrZones()
{
    Market market = twoSided();
    for (const std::optional<double> price :
         {std::optional<double>(), std::optional(0.0), std::optional(-1.0),
          std::optional(std::numeric_limits<double>::quiet_NaN()),
          std::optional(std::numeric_limits<double>::infinity())}) {
        market.inputs.price = price;
        QVERIFY(!market.live());
        if (price)
            QVERIFY(!market.at(*price, buy) && !market.at(*price, sell));
    }
    QVERIFY(!Market({}, {}).live());
    QVERIFY(!Market({}, {}).at(100, buy));
    // Zones on the wrong side of the price, or right at it, are no neighbours.
    QVERIFY(!Market({100, 101}, {100, 99}).live());
}

void PlanSelectionTest::targetFarEnough_data()
{
    QTest::addColumn<QList<double>>("resistances");
    QTest::addColumn<MarketSegment>("market");
    QTest::addColumn<bool>("aligned");
    QTest::addColumn<double>("target");
    QTest::newRow("aligned needs 1 %")
        << QList<double>{102, 100.9, 101} << MarketSegment::cn << true << 101.0;
    QTest::newRow("mixed needs four times the cost, 0.6 %")
        << QList<double>{100.5, 100.7, 103} << MarketSegment::cn << false << 100.7;
    QTest::newRow("Hong Kong needs 1.2 % without a trend")
        << QList<double>{101, 101.1, 101.3} << MarketSegment::hk << false << 101.3;
    QTest::newRow("Hong Kong needs 1.2 % with a trend too")
        << QList<double>{101, 101.1, 101.3} << MarketSegment::hk << true << 101.3;
    QTest::newRow("none far enough: the farthest")
        << QList<double>{100.2, 100.4, 100.3} << MarketSegment::cn << true << 100.4;
}

void PlanSelectionTest::targetFarEnough()
{
    QFETCH(QList<double>, resistances);
    QFETCH(bool, aligned);
    QFETCH(MarketSegment, market);
    Market given({98}, resistances);
    given.inputs.settings.market = market;
    if (aligned)
        given.addSignals({SignalType::bull, SignalType::neutral, SignalType::bull});
    QTEST(*given.live()->tp, "target");
}

void PlanSelectionTest::aTieKeepsTheLongPlan()
{
    // 96 and 104 around 100, stops two ATRs further on at 94 and 106: the same ratio on both sides.
    Market market({96}, {104});
    market.inputs.atr = 4;
    QCOMPARE(market.live()->dir, buy);
    QCOMPARE(market.live()->netRR, (4 - 0.15) / (6 + 0.15));
}

void PlanSelectionTest::theStopPercentageHasAFloor()
{
    // 0.3 % of a resistance far below the entry is next to nothing: only the percentage is lifted.
    Market market({98}, {1});
    market.inputs.atr = std::nullopt;
    const auto plan = market.at(200, sell);
    QVERIFY(plan);
    QCOMPARE(plan->sl, 200.003);
    QCOMPARE(plan->slPct, 0.05);
}

void PlanSelectionTest::chosenEntryLong()
{
    Market market({98, 95}, {101, 104});
    market.inputs.price = std::nullopt; // plays no part
    // A tapped support leans on the next one: 95 - 0.5. Its own middle is no neighbour.
    std::optional<TradePlan> plan = market.at(98, buy);
    QVERIFY(plan);
    QCOMPARE(plan->detail, u"98.00 进 · 止盈 101.00（+3.06%） · 止损 94.50（−3.57%） · 净盈亏比 0.78"_s);
    QCOMPARE(plan->waitPrice, std::optional(95.0));

    // The lowest support leans on itself.
    plan = market.at(95, buy);
    QCOMPARE(plan->sl, 94.5);
    QCOMPARE(plan->waitPrice, std::optional(95.0));
    // Below every support: the nearest of them is the anchor, the entry the base.
    plan = market.at(90, buy);
    QCOMPARE(plan->sl, 89.5);
    QCOMPARE(plan->waitPrice, std::optional(95.0));

    QVERIFY(!market.at(104, buy));            // nothing above
    QVERIFY(!Market({}, {104}).at(100, buy)); // no support at all
    market.inputs.settings.market = MarketSegment::hk;
    QVERIFY(market.at(98, buy));
}

void PlanSelectionTest::chosenEntryShort()
{
    Market market({98, 95}, {101, 104});
    std::optional<TradePlan> plan = market.at(101, sell);
    QVERIFY(plan);
    QCOMPARE(plan->sl, 104.5);
    QCOMPARE(plan->tp, std::optional(98.0));
    QCOMPARE(plan->waitPrice, std::optional(104.0));

    // Above every resistance: base is the entry, but the 0.3 % are of the lower price, the anchor's.
    market.inputs.atr = std::nullopt;
    plan = market.at(200, sell);
    QCOMPARE(plan->sl, 200 + 104 * 0.003);
    QCOMPARE(plan->waitPrice, std::optional(104.0));
    // Between the anchor and its supports the lower price is the entry.
    QCOMPARE(market.at(100, sell)->sl, 101 + 100 * 0.003);

    QVERIFY(!market.at(95, sell)); // nothing below
    market.inputs.settings.market = MarketSegment::cn;
    QVERIFY(!market.at(101, sell));
}

void PlanSelectionTest::agreesWithThePlainSelection()
{
    std::mt19937 random(4711);
    const auto upTo = [&](int bound) { return int(random() % unsigned(bound)); };
    constexpr std::array allSignals{SignalType::strongBull, SignalType::bull, SignalType::neutral,
                                    SignalType::bear, SignalType::strongBear};
    int plans = 0;
    for (int round = 0; round < 5000; ++round) {
        // Quarter steps make equal distances and zones at the entry common.
        Market market({}, {});
        for (int i = upTo(12); i > 0; --i)
            market.zones.push_back(zoneAt(95 + upTo(41) * 0.25, upTo(2) ? u"support"_s : u"resistance"_s));
        for (int i = upTo(4); i > 0; --i)
            market.addSignals({allSignals[std::size_t(upTo(5))]});
        PlanSettings &settings = market.inputs.settings;
        settings.market = upTo(2) ? MarketSegment::crypto : upTo(2) ? MarketSegment::cn : MarketSegment::hk;
        settings.accountSize = upTo(3) * 5000;
        settings.riskPctPerTrade = upTo(4) * 10;
        settings.leverage = 1 + upTo(30);
        settings.marginMode = upTo(2) ? MarginMode::isolated : MarginMode::cross;
        market.inputs.price = 95 + upTo(41) * 0.25;
        market.inputs.atr = upTo(3) ? std::optional(upTo(9) * 0.25) : std::nullopt;
        if (upTo(2))
            market.inputs.sessionWarning = u"周末"_s;

        const PlanInputs inputs = market.view();
        QCOMPARE(described(tradePlan(inputs)), described(test::plainTradePlan(inputs)));
        for (const TradeDirection dir : {buy, sell}) {
            const double entry = 94.75 + upTo(43) * 0.25;
            QCOMPARE(described(planForEntry(inputs, entry, dir)),
                     described(test::plainPlanForEntry(inputs, entry, dir)));
            plans += planForEntry(inputs, entry, dir) ? 1 : 0;
        }
        plans += tradePlan(inputs) ? 1 : 0;
    }
    QVERIFY2(plans > 5000, "most markets must have a plan");
}

KESTRUNE_TEST(PlanSelectionTest)

#include "tst_planselection.moc"
