// SPDX-License-Identifier: MIT
#pragma once

#include "replay/instruments.h"

#include <QByteArray>

#include <optional>
#include <vector>

namespace kestrune::replay {

inline constexpr qint64 secondMs = 1000;
inline constexpr qint64 minuteMs = 60 * secondMs;
inline constexpr qint64 hourMs = 60 * minuteMs;
inline constexpr qint64 dayMs = 24 * hourMs;
/// Shanghai and Hong Kong keep UTC+8 the year round.
inline constexpr qint64 chinaOffsetMs = 8 * hourMs;

/// A half-open stretch of time, milliseconds since the Unix epoch.
struct TimeSpan
{
    qint64 start = 0;
    qint64 end = 0;
};

/// The length of a candle and where its days begin.
struct Interval
{
    enum class Unit { fixed, week, month };

    Unit unit = Unit::fixed;
    qint64 length = dayMs; ///< milliseconds; for weeks and months nominal
    qint64 offset = 0;     ///< how far the local midnight lies before the UTC one, milliseconds

    bool operator==(const Interval &) const = default;
};

/// "1m", "4h", "1d", "1w", "1M" and the like, days beginning `offset` before UTC; absent when unknown.
[[nodiscard]] std::optional<Interval> intervalFromText(QByteArrayView text, qint64 offset = 0);

/// When the candle that covers `time` opens; weeks open on Monday.
[[nodiscard]] qint64 bucketStart(const Interval &interval, qint64 time);
/// When the candle that opens at `start` closes.
[[nodiscard]] qint64 bucketEnd(const Interval &interval, qint64 start);

/// Midnight in China of the day that covers `time`.
[[nodiscard]] qint64 chinaMidnight(qint64 time);

/// Whether a stock exchange opens on the day whose midnight in China is given: weekdays but the fixed
/// holidays of the year (the moving ones are traded, as the quotes' readers need not know them).
[[nodiscard]] bool isTradingDay(Venue venue, qint64 midnight);

/// From the first to the last minute of that day's trading.
[[nodiscard]] TimeSpan tradingHours(Venue venue, qint64 midnight);

/// The first trading day (its midnight in China) at or after `midnight`.
[[nodiscard]] qint64 tradingDayFrom(Venue venue, qint64 midnight);

/// Cuts a stretch of market time into the next finer pieces: days, hours (crypto), trading minutes, seconds.
/// Pieces are aligned to the clock, so the first and last may be short; never empty.
[[nodiscard]] std::vector<TimeSpan> finerSpans(Venue venue, const TimeSpan &span);

/// "2026-09-18" of the day in China that covers `time`.
[[nodiscard]] QByteArray chinaDate(qint64 time);
/// The wall clock in China by a format of QDateTime::toString.
[[nodiscard]] QByteArray chinaTime(qint64 time, const char *format);

} // namespace kestrune::replay
