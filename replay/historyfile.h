// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "replay/calendar.h"

#include <QString>

#include <optional>

namespace kestrune::replay {

/// What the name of a candle file tells: "BTCUSDT_4h_anything.csv", "sh600519_1d.csv".
struct HistoryName
{
    const Instrument *instrument;
    Interval interval;
};

/// Absent for a name of another form, of an unknown instrument or interval.
[[nodiscard]] std::optional<HistoryName> parseHistoryName(const QString &fileName);

struct HistoryRows
{
    CandleList candles;     ///< ascending, one a bucket, `ts` at the bucket's start
    int malformedLines = 0; ///< left out
    int firstMalformed = 0; ///< its number, from 1
};

/// Reads lines of "ts_ms,o,h,l,c,v" with an optional heading line. A line is malformed when it is not six
/// numbers, when these cannot be a candle, or when its time does not come after the one before. Stocks:
/// days without volume are left out, as the quote source does, and prices have three decimals, as its.
[[nodiscard]] HistoryRows parseHistory(QByteArrayView text, const HistoryName &name);

} // namespace kestrune::replay
