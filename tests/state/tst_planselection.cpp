// SPDX-License-Identifier: MIT
#include "state/planselection.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

/// Which zones a plan leans on and aims at.
class PlanSelectionTest : public QObject
{
    Q_OBJECT

    static constexpr auto buy = TradeDirection::long_;
    static constexpr auto sell = TradeDirection::short_;
    using Mids = std::vector<double>;

    /// A price of 100 and an ATR of 1 between zones; owns what the inputs only look at.
    struct Market
    {
        std::vector<Zone> zones;
        std::vector<TimeframeSignal> snapshot;
        PlanInputs inputs{};

        Market(const Mids &supports, const Mids &resistances, MarketSegment segment = MarketSegment::crypto,
               int bulls = 0)
        {
            for (const double mid : resistances)
                zones.push_back({mid, mid, mid, {}, 0, 1, false, u"resistance"_s});
            for (const double mid : supports)
                zones.push_back({mid, mid, mid, {}, 0, 1, false, u"support"_s});
            for (int i = 0; i < bulls; ++i)
                snapshot.emplace_back(u"1H"_s, 0.0, SignalType::bull, QString());
            inputs.settings.market = segment;
            inputs.price = 100;
            inputs.atr = 1;
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
    static Market twoSided(MarketSegment segment = MarketSegment::crypto)
    {
        return {{98, 95}, {104, 101}, segment, 3};
    }

private Q_SLOTS:
    void theBetterOfTwoCandidates()
    {
        // Long: stop 98 - max(0.294, 0.5) = 97.5, target 101 at 1 %; 0.85 / 2.65 = 0.32.
        // Short: stop 101 + max(0.303, 0.5) = 101.5, target 98 at 2 % (0.6 needed); 1.85 / 1.65 = 1.12.
        std::optional<TradePlan> plan = twoSided().live();
        QVERIFY(plan);
        QCOMPARE(plan->detail, u"100.00 进 · 止盈 98.00（−2.00%） · 止损 101.50（+1.50%） · 净盈亏比 1.12"_s);
        QCOMPARE(plan->trend, TrendState::counter);
        QCOMPARE(plan->waitPrice, std::optional(101.0));

        plan = twoSided(MarketSegment::cn).live(); // shares are never sold short
        QVERIFY(plan);
        QCOMPARE(plan->detail, u"100.00 进 · 止盈 101.00（+1.00%） · 止损 97.50（−2.50%） · 净盈亏比 0.32"_s);
        QCOMPARE(plan->trend, TrendState::aligned);
        QCOMPARE(plan->waitPrice, std::optional(98.0));

        // 96 and 104 around 100, stops two ATRs further on at 94 and 106: a tie keeps the long plan.
        Market even({96}, {104});
        even.inputs.atr = 4;
        QCOMPARE(even.live()->dir, buy);
        QCOMPARE(even.live()->netRR, (4 - 0.15) / (6 + 0.15));
    }

    void warnedSessionsWidenTheStop()
    {
        Market market = twoSided(MarketSegment::cn);
        market.inputs.sessionWarning = u"临近"_s;
        QCOMPARE(market.live()->sl, 97.4); // 98 - 1.2 x 0.5
        QCOMPARE(market.live()->sessionText, u"临近"_s);
        market.inputs.atr = std::nullopt; // the 0.3 % of the zone count: 98 - 1.2 x 0.294
        QVERIFY(test::closeTo(market.live()->sl, 97.6472, 1e-12));
    }

    void oneSideOpen()
    {
        for (const MarketSegment segment : allMarketSegments) {
            Market market = twoSided(segment);
            market.inputs.price = 120; // 98 - 0.5; an ATR of 1 trails
            QCOMPARE(market.live()->detail,
                     u"120.00 进 · 止损 97.50（−18.75%） · 每盈利 1.00 上移一次止损"_s);
            QCOMPARE(market.live()->dir, buy);
            market.inputs.price = 50;
            QCOMPARE(market.live().has_value(), segment == MarketSegment::crypto);
            if (market.live()) {
                QCOMPARE(market.live()->detail,
                         u"50.00 进 · 止损 101.50（+103.00%） · 每盈利 1.00 上移一次止损"_s);
                QCOMPARE(market.live()->dir, sell);
            }
        }
    }

    void noPlanWithoutAPriceOrZones()
    {
        using Limits = std::numeric_limits<double>;
        Market market = twoSided();
        for (const double price : {0.0, -1.0, Limits::quiet_NaN(), Limits::infinity()}) {
            market.inputs.price = price;
            QVERIFY(!market.live() && !market.at(price, buy) && !market.at(price, sell));
        }
        market.inputs.price = std::nullopt;
        QVERIFY(!market.live());
        QVERIFY(!Market({}, {}).live() && !Market({}, {}).at(100, buy));
        // Zones on the wrong side of the price, or right at it, are no neighbours.
        QVERIFY(!Market({100, 101}, {100, 99}).live());
    }

    void targetFarEnough()
    {
        const auto target = [](const Mids &resistances, MarketSegment segment, int bulls) {
            return *Market({98}, resistances, segment, bulls).live()->tp;
        };
        QCOMPARE(target({102, 100.9, 101}, MarketSegment::cn, 2), 101.0);   // aligned needs 1 %
        QCOMPARE(target({100.5, 100.7, 103}, MarketSegment::cn, 1), 100.7); // else four times the cost, 0.6 %
        QCOMPARE(target({100.2, 100.4, 100.3}, MarketSegment::cn, 3), 100.4); // none: the farthest
        for (const int bulls : {0, 3}) // 1.2 %, with a trend and without
            QCOMPARE(target({101, 101.1, 101.3}, MarketSegment::hk, bulls), 101.3);
    }

    void chosenEntry()
    {
        // The stop with the price of the zone that it leans on, and the target.
        const auto leaning = [](double entry, TradeDirection dir, std::optional<double> atr) {
            Market market({98, 95}, {101, 104});
            market.inputs.price = std::nullopt; // plays no part
            market.inputs.atr = atr;
            const std::optional<TradePlan> plan = market.at(entry, dir);
            return plan ? Mids{plan->entry, plan->sl, *plan->waitPrice, *plan->tp} : Mids{};
        };
        // A tapped zone leans on the next one, the outermost on itself; beyond it the entry is the base.
        QCOMPARE(leaning(98, buy, 1), (Mids{98, 95 - 0.5, 95, 101}));
        QCOMPARE(leaning(95, buy, 1), (Mids{95, 95 - 0.5, 95, 101}));
        QCOMPARE(leaning(90, buy, 1), (Mids{90, 90 - 0.5, 95, 101}));
        QCOMPARE(leaning(101, sell, 1), (Mids{101, 104 + 0.5, 104, 98}));
        // 0.3 % of the lower price: the anchor's, or the entry.
        QCOMPARE(leaning(200, sell, {}), (Mids{200, 200 + 104 * 0.003, 104, 98}));
        QCOMPARE(leaning(100, sell, {}), (Mids{100, 101 + 100 * 0.003, 101, 98}));

        const Market market({98, 95}, {101, 104});
        QVERIFY(!market.at(104, buy) && !market.at(95, sell)); // no target
        QVERIFY(!Market({}, {104}).at(100, buy));              // no support at all
        for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk})
            QVERIFY(twoSided(segment).at(98, buy) && !twoSided(segment).at(101, sell));

        // 0.3 % of a resistance far below the entry is next to nothing: only the percentage is lifted.
        Market flat({98}, {1});
        flat.inputs.atr = std::nullopt;
        QCOMPARE(flat.at(200, sell)->sl, 200.003);
        QCOMPARE(flat.at(200, sell)->slPct, 0.05);
    }
};

KESTRUNE_TEST(PlanSelectionTest)

#include "tst_planselection.moc"
