// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <vector>

namespace kestrune {

/// One bar of price history. Lists are oldest first; the last bar may still be forming.
struct Candle
{
    qint64 ts = 0; ///< bar open time, milliseconds since the Unix epoch
    double o = 0;  ///< open price
    double h = 0;  ///< high price
    double l = 0;  ///< low price
    double c = 0;  ///< close price
    double v = 0;  ///< volume in the source's own unit, 0 where it gives none
};

using CandleList = std::vector<Candle>;

} // namespace kestrune
