// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"
#include "state/timeframesignal.h"
#include "state/tradeplan.h"

#include <optional>
#include <span>

namespace kestrune {

struct PlanInputs
{
    PlanSettings settings;
    std::optional<double> price; ///< live price
    std::span<const Zone> zones; ///< in list order
    std::optional<double> atr;   ///< price units
    std::span<const TimeframeSignal> snapshot;
    std::optional<QString> sessionWarning;
};

/// Round-trip trading cost in percent: 0.3 for Hong Kong, else 0.15.
[[nodiscard]] double tradeCostPct(MarketSegment market);

/// The plan for the live price, if any: trend-run when one side is open, else the candidate with the
/// greater net reward to risk (long on a tie). Stocks never get a short plan.
[[nodiscard]] std::optional<TradePlan> tradePlan(const PlanInputs &inputs);

/// The plan for a chosen entry price; the live price plays no part. A zone whose middle equals the entry is
/// no neighbour of it, so the stop of a plan for a tapped zone goes behind the next one.
[[nodiscard]] std::optional<TradePlan> planForEntry(const PlanInputs &inputs, double entry,
                                                    TradeDirection dir);

} // namespace kestrune
