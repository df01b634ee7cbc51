// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <QString>

#include <random>

namespace kestrune::test {

enum class CandleKind {
    walk,    ///< a geometric random walk with volume, like a market
    coarse,  ///< the same on a coarse price grid: many equal highs and lows
    still,   ///< one price, no volume
    hostile, ///< any doubles at all, with NaN, infinities and zeros of either sign
};

/// A repeatable candle list; `level` is the price where a walk begins.
[[nodiscard]] CandleList randomCandles(std::mt19937_64 &random, std::size_t count, double level,
                                       CandleKind kind = CandleKind::walk);

/// The candles of a history file (columns ts_ms,o,h,l,c,v below a heading); empty when a line is malformed.
[[nodiscard]] CandleList readHistory(const QString &path);

} // namespace kestrune::test
