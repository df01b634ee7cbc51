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
class CandleLevels
{
public:
    CandleLevels() = default; ///< as for an empty candle list
    explicit CandleLevels(std::span<const Candle> candles);

    [[nodiscard]] bool sufficient() const { return m_sufficient; } ///< at least two candles

private:
    friend std::vector<Zone> buildZones(const CandleLevels &levels, double curPrice, double tick);

    bool m_sufficient = false;
    Pivot m_pivot{};
    FibResult m_fib;
    std::vector<double> m_highs; ///< swing highs, ascending
    std::vector<double> m_lows;  ///< swing lows, ascending
    std::optional<double> m_poc;
};

/// Support and resistance zones, `mid` from the highest price down, labelled against `curPrice` with the
/// price step `tick` (0 for crypto, 0.01 for stocks). Fewer than two candles give none.
[[nodiscard]] std::vector<Zone> buildZones(std::span<const Candle> candles, double curPrice, double tick = 0);
[[nodiscard]] std::vector<Zone> buildZones(const CandleLevels &levels, double curPrice, double tick = 0);

/// The same merge and labels for pivots and retracement levels alone, without sources.
[[nodiscard]] std::vector<Zone> mergeLevels(const Pivot &pivots, const FibResult &fib, double curPrice,
                                            double tick = 0);

} // namespace kestrune
