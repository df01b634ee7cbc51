// SPDX-License-Identifier: MIT
#include "state/planselection.h"

#include "state/conclusion.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

enum class Side { support, resistance };

/// What a plan's direction takes from the zones: the stop lies behind the one kind, the target at the other.
Side stopSide(TradeDirection dir)
{
    return dir == TradeDirection::long_ ? Side::support : Side::resistance;
}

Side targetSide(TradeDirection dir)
{
    return dir == TradeDirection::long_ ? Side::resistance : Side::support;
}

bool isOfSide(const Zone &zone, Side side)
{
    return zone.type == (side == Side::support ? "support"_L1 : "resistance"_L1);
}

/// A support strictly below the reference price or a resistance strictly above it.
bool isNeighbour(const Zone &zone, Side side, double reference)
{
    return (side == Side::support ? zone.mid < reference : zone.mid > reference) && isOfSide(zone, side);
}

/// The nearest zone that `accepts` lets through, the earliest of equally near ones.
template <typename Accepts>
const Zone *nearest(std::span<const Zone> zones, double reference, Accepts accepts)
{
    const Zone *best = nullptr;
    for (const Zone &zone : zones) {
        if (accepts(zone) && (!best || std::abs(zone.mid - reference) < std::abs(best->mid - reference)))
            best = &zone;
    }
    return best;
}

const Zone *nearestNeighbour(std::span<const Zone> zones, Side side, double reference)
{
    return nearest(zones, reference, [&](const Zone &zone) { return isNeighbour(zone, side, reference); });
}

const Zone *nearestOfSide(std::span<const Zone> zones, Side side, double reference)
{
    return nearest(zones, reference, [&](const Zone &zone) { return isOfSide(zone, side); });
}

/// The nearest target at least `minPct` percent away, else the farthest one (the last of equally far ones).
const Zone *chooseTarget(std::span<const Zone> zones, TradeDirection dir, double entry, double minPct)
{
    const Side side = targetSide(dir);
    if (const Zone *target = nearest(zones, entry, [&](const Zone &zone) {
            return isNeighbour(zone, side, entry) && rewardPct(dir, entry, zone.mid) >= minPct;
        }))
        return target;
    const Zone *farthest = nullptr;
    for (const Zone &zone : zones) {
        if (isNeighbour(zone, side, entry) &&
            (!farthest || std::abs(zone.mid - entry) >= std::abs(farthest->mid - entry)))
            farthest = &zone;
    }
    return farthest;
}

TrendState trendState(std::span<const TimeframeSignal> snapshot, TradeDirection dir)
{
    const int bullish = bullishBalance(snapshot);
    const int agreement = dir == TradeDirection::long_ ? bullish : -bullish;
    if (agreement >= 2)
        return TrendState::aligned;
    return agreement <= -2 ? TrendState::counter : TrendState::mixed;
}

double minTargetPct(TrendState state, double cost)
{
    return std::max(4 * cost, state == TrendState::aligned ? 1.0 : 0.5);
}

/// Stop behind `base`: at least 0.3 % of `floorPrice` or half an ATR away, wider in a warned session.
double stopBehind(const PlanInputs &inputs, TradeDirection dir, double base, double floorPrice)
{
    const double atr = inputs.atr.value_or(0);
    const double factor = inputs.sessionWarning ? 1.2 : 1.0;
    const double buffer = factor * std::max(floorPrice * 0.003, atr * 0.5);
    return dir == TradeDirection::long_ ? base - buffer : base + buffer;
}

/// A plan before its texts.
struct Candidate
{
    TradeDirection dir;
    double entry, tp, sl, slPct;
    TrendState state;
    double waitPrice;
    double netRR;
};

Candidate makeCandidate(const PlanInputs &inputs, TradeDirection dir, double entry, const Zone &anchor,
                        double sl)
{
    constexpr double minStopPct = 0.05; // of the percentage only: the stop itself stays where it is
    const double cost = tradeCostPct(inputs.settings.market);
    const double distance = dir == TradeDirection::long_ ? entry - sl : sl - entry;
    const double slPct = std::max(distance / entry * 100, minStopPct);
    const TrendState state = trendState(inputs.snapshot, dir);
    const double tp = chooseTarget(inputs.zones, dir, entry, minTargetPct(state, cost))->mid;
    return {dir, entry, tp, sl, slPct, state, anchor.mid, netRewardToRisk(dir, entry, tp, slPct, cost)};
}

TradePlan planOf(const PlanInputs &inputs, const Candidate &candidate)
{
    return makePlan(inputs.settings, candidate.dir, candidate.entry, candidate.tp, candidate.sl,
                    candidate.slPct, candidate.state, tradeCostPct(inputs.settings.market),
                    inputs.sessionWarning, candidate.waitPrice);
}

TradePlan trendRunPlan(const PlanInputs &inputs, TradeDirection dir, double entry, const Zone &anchor)
{
    return makeTrendRunPlan(inputs.settings, dir, entry, stopBehind(inputs, dir, anchor.mid, anchor.mid),
                            inputs.atr.value_or(0), tradeCostPct(inputs.settings.market),
                            inputs.sessionWarning);
}

bool isUsablePrice(double price)
{
    return std::isfinite(price) && price > 0;
}

} // namespace

double tradeCostPct(MarketSegment market)
{
    return market == MarketSegment::hk ? 0.3 : 0.15;
}

std::optional<TradePlan> tradePlan(const PlanInputs &inputs)
{
    if (!inputs.price || !isUsablePrice(*inputs.price))
        return std::nullopt;
    const double price = *inputs.price;
    const bool canShort = inputs.settings.market == MarketSegment::crypto;
    const Zone *support = nearestNeighbour(inputs.zones, Side::support, price);
    const Zone *resistance = nearestNeighbour(inputs.zones, Side::resistance, price);
    if (!support && !resistance)
        return std::nullopt;
    if (!resistance)
        return trendRunPlan(inputs, TradeDirection::long_, price, *support);
    if (!support) {
        if (!canShort)
            return std::nullopt;
        return trendRunPlan(inputs, TradeDirection::short_, price, *resistance);
    }

    // The texts cost far more than the arithmetic, so only the better candidate gets any.
    const auto candidate = [&](TradeDirection dir, const Zone &anchor) {
        return makeCandidate(inputs, dir, price, anchor, stopBehind(inputs, dir, anchor.mid, anchor.mid));
    };
    const Candidate buying = candidate(TradeDirection::long_, *support);
    if (!canShort)
        return planOf(inputs, buying);
    const Candidate selling = candidate(TradeDirection::short_, *resistance);
    return planOf(inputs, selling.netRR > buying.netRR ? selling : buying);
}

std::optional<TradePlan> planForEntry(const PlanInputs &inputs, double entry, TradeDirection dir)
{
    const bool isLong = dir == TradeDirection::long_;
    if (!isUsablePrice(entry) || (!isLong && inputs.settings.market != MarketSegment::crypto))
        return std::nullopt;
    const Zone *anchor = nearestNeighbour(inputs.zones, stopSide(dir), entry);
    if (!anchor)
        anchor = nearestOfSide(inputs.zones, stopSide(dir), entry);
    if (!anchor || !nearestNeighbour(inputs.zones, targetSide(dir), entry))
        return std::nullopt;
    const double lower = std::min(anchor->mid, entry);
    const double base = isLong ? lower : std::max(anchor->mid, entry);
    // deliberate: the 0.3 % is of the lower price for short plans too, the tighter stop of the two
    const double sl = stopBehind(inputs, dir, base, lower);
    return planOf(inputs, makeCandidate(inputs, dir, entry, *anchor, sl));
}

} // namespace kestrune
