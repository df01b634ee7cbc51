// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "analysis/levels.h"
#include "analysis/zone.h"

#include <span>
#include <vector>

namespace kestrune {

/// What zone building takes from the candles alone: pivots, retracement, sorted swings, point of control.
/// Kept beside the candles so that a price tick costs only filtering and merging.
struct CandleLevels
{
    CandleLevels() = default; ///< as for an empty candle list
    explicit CandleLevels(std::span<const Candle> candles);

    bool sufficient = false; ///< at least two candles; otherwise nothing below is set
    Pivot pivot{};           ///< of the last completed bar
    FibResult fib;
    Swings swings; ///< each ascending
    std::optional<double> poc;
};

/// Support and resistance zones, `mid` from the highest price down, labelled against `curPrice` with the
/// price step `tick` (0 for crypto, 0.01 for stocks). Fewer than two candles give none.
[[nodiscard]] std::vector<Zone> buildZones(std::span<const Candle> candles, double curPrice, double tick = 0);
[[nodiscard]] std::vector<Zone> buildZones(const CandleLevels &levels, double curPrice, double tick = 0);

/// The same merge and labels for pivots and retracement levels alone, without sources.
[[nodiscard]] std::vector<Zone> mergeLevels(const Pivot &pivots, const FibResult &fib, double curPrice,
                                            double tick = 0);

} // namespace kestrune
