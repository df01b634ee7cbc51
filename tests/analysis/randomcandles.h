// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <random>

namespace kestrune::test {

/// A candle by hand: high, low, close, volume.
[[nodiscard]] inline Candle bar(double h, double l, double c, double v = 1)
{
    return {0, c, h, l, c, v};
}

/// A repeatable market: a geometric random walk with volume that begins at the price `level`.
[[nodiscard]] CandleList randomCandles(std::mt19937_64 &random, std::size_t count, double level);

} // namespace kestrune::test
