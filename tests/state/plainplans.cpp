// SPDX-License-Identifier: MIT
#include "state/plainplans.h"

#include <algorithm>
#include <cmath>
#include <functional>

using namespace Qt::StringLiterals;

namespace kestrune::test {

namespace {

constexpr auto buy = TradeDirection::long_;
constexpr auto sell = TradeDirection::short_;

using Zones = std::vector<Zone>;

Zones sortedZones(const PlanInputs &inputs, double x, const QString &type,
                  const std::function<bool(double)> &keep)
{
    Zones list;
    for (const Zone &zone : inputs.zones) {
        if (zone.type == type && keep(zone.mid))
            list.push_back(zone);
    }
    std::stable_sort(list.begin(), list.end(),
                     [x](const Zone &a, const Zone &b) { return std::abs(a.mid - x) < std::abs(b.mid - x); });
    return list;
}

Zones supportsBelow(const PlanInputs &inputs, double x)
{
    return sortedZones(inputs, x, u"support"_s, [x](double mid) { return mid < x; });
}

Zones resistancesAbove(const PlanInputs &inputs, double x)
{
    return sortedZones(inputs, x, u"resistance"_s, [x](double mid) { return mid > x; });
}

double costOf(const PlanInputs &inputs)
{
    return inputs.settings.market == MarketSegment::hk ? 0.3 : 0.15;
}

TradePlan zonePlan(const PlanInputs &inputs, TradeDirection dir, double entry, const Zones &targets,
                   double sl, double wait)
{
    int n = 0;
    for (const TimeframeSignal &record : inputs.snapshot) {
        if (isBull(record.signal))
            n += dir == buy ? 1 : -1;
        if (isBear(record.signal))
            n -= dir == buy ? 1 : -1;
    }
    const TrendState state = n >= 2 ? TrendState::aligned : n <= -2 ? TrendState::counter : TrendState::mixed;
    const double minimum = std::max(4 * costOf(inputs), state == TrendState::aligned ? 1.0 : 0.5);
    double target = targets.back().mid;
    for (const Zone &zone : targets) {
        const double pct = dir == buy ? (zone.mid - entry) / entry * 100 : (entry - zone.mid) / entry * 100;
        if (pct >= minimum) {
            target = zone.mid;
            break;
        }
    }
    const double slPct = std::max((dir == buy ? entry - sl : sl - entry) / entry * 100, 0.05);
    return makePlan(inputs.settings, dir, entry, target, sl, slPct, state, costOf(inputs),
                    inputs.sessionWarning, wait);
}

} // namespace

std::optional<TradePlan> plainTradePlan(const PlanInputs &inputs)
{
    if (!inputs.price || *inputs.price <= 0 || inputs.zones.empty())
        return std::nullopt;
    const double p = *inputs.price;
    const double a = inputs.atr.value_or(0);
    const double k = inputs.sessionWarning ? 1.2 : 1.0;
    const bool crypto = inputs.settings.market == MarketSegment::crypto;
    const Zones supports = supportsBelow(inputs, p);
    const Zones resistances = resistancesAbove(inputs, p);
    const auto below = [&] { return supports[0].mid - k * std::max(supports[0].mid * 0.003, a * 0.5); };
    const auto above = [&] { return resistances[0].mid + k * std::max(resistances[0].mid * 0.003, a * 0.5); };
    if (resistances.empty() && !supports.empty())
        return makeTrendRunPlan(inputs.settings, buy, p, below(), a, costOf(inputs), inputs.sessionWarning);
    if (crypto && supports.empty() && !resistances.empty())
        return makeTrendRunPlan(inputs.settings, sell, p, above(), a, costOf(inputs), inputs.sessionWarning);
    if (supports.empty() || resistances.empty())
        return std::nullopt;
    const TradePlan buying = zonePlan(inputs, buy, p, resistances, below(), supports[0].mid);
    if (!crypto)
        return buying;
    const TradePlan selling = zonePlan(inputs, sell, p, supports, above(), resistances[0].mid);
    return selling.netRR > buying.netRR ? selling : buying;
}

std::optional<TradePlan> plainPlanForEntry(const PlanInputs &inputs, double e, TradeDirection dir)
{
    if (e <= 0 || inputs.zones.empty() || (dir == sell && inputs.settings.market != MarketSegment::crypto))
        return std::nullopt;
    const double a = inputs.atr.value_or(0);
    const double k = inputs.sessionWarning ? 1.2 : 1.0;
    const auto all = [](double) { return true; };
    const Zones supports = supportsBelow(inputs, e);
    const Zones resistances = resistancesAbove(inputs, e);
    Zones anchors = dir == buy ? supports : resistances;
    if (anchors.empty())
        anchors = sortedZones(inputs, e, dir == buy ? u"support"_s : u"resistance"_s, all);
    const Zones &targets = dir == buy ? resistances : supports;
    if (anchors.empty() || targets.empty())
        return std::nullopt;
    const double mid = anchors[0].mid;
    const double lower = std::min(mid, e);
    const double buffer = k * std::max(lower * 0.003, a * 0.5);
    return zonePlan(inputs, dir, e, targets, dir == buy ? lower - buffer : std::max(mid, e) + buffer, mid);
}

} // namespace kestrune::test
