// SPDX-License-Identifier: MIT
#include "analysis/randomcandles.h"

#include <algorithm>
#include <cmath>

namespace kestrune::test {

CandleList randomCandles(std::mt19937_64 &random, std::size_t count, double level)
{
    const auto uniform = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    CandleList candles;
    double close = level;
    for (std::size_t i = 0; i < count; ++i) {
        const double open = close;
        close = open * (1 + (uniform() - 0.5) * 0.04);
        const double high = std::max(open, close) * (1 + uniform() * 0.01);
        const double low = std::min(open, close) * (1 - uniform() * 0.01);
        const double volume = std::floor(uniform() * 1e6) / 100;
        candles.push_back({static_cast<qint64>(i) * 3'600'000, open, high, low, close, volume});
    }
    return candles;
}

} // namespace kestrune::test
