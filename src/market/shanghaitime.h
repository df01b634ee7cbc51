// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"

#include <QStringView>
#include <QtGlobal>

#include <optional>
#include <string_view>

namespace kestrune {

/// Midnight in Asia/Shanghai of a date written "yyyy-MM-dd", in milliseconds since the Unix epoch. Exactly
/// ten characters of an existing Gregorian date; anything else gives none. Where the clocks skipped
/// midnight, the first moment of that day.
[[nodiscard]] std::optional<qint64> shanghaiMidnight(std::string_view date);

/// The instant of a quote's time in Asia/Shanghai, "yyyyMMddHHmmss" or "yyyy/MM/dd HH:mm:ss"; none for
/// anything else, nor before 1970 or after 2199.
[[nodiscard]] std::optional<Instant> shanghaiInstant(QStringView text);

struct ShanghaiTime
{
    int weekday;     ///< 0 Sunday to 6 Saturday
    int minuteOfDay; ///< 0 to 1439
};
/// Weekday and wall clock in Asia/Shanghai.
[[nodiscard]] ShanghaiTime shanghaiTime(Instant instant);

} // namespace kestrune
