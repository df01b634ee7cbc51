// SPDX-License-Identifier: MIT
#include "replay/calendar.h"

#include "analysis/utczone.h"

#include <QDateTime>

#include <algorithm>
#include <chrono>

namespace kestrune::replay {

namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::milliseconds;
using std::chrono::sys_days;
using std::chrono::year_month_day;

struct Session
{
    qint64 start; ///< minutes after midnight
    qint64 end;
};

/// Every exchange here trades in two sessions a day.
std::pair<Session, Session> sessions(Venue venue)
{
    if (venue == Venue::hongkong)
        return {{570, 720}, {780, 960}};
    return {{570, 690}, {780, 900}};
}

qint64 floorTo(qint64 time, qint64 step)
{
    const qint64 rest = time % step;
    return time - (rest < 0 ? rest + step : rest);
}

sys_days dayOf(qint64 localTime)
{
    return floor<days>(std::chrono::sys_time<milliseconds>(milliseconds(localTime)));
}

qint64 toMs(sys_days day)
{
    return std::chrono::duration_cast<milliseconds>(day.time_since_epoch()).count();
}

void appendAligned(std::vector<TimeSpan> &pieces, const TimeSpan &span, qint64 step, qint64 offset = 0)
{
    for (qint64 start = span.start; start < span.end;) {
        const qint64 end = std::min(span.end, floorTo(start + offset, step) + step - offset);
        pieces.push_back({start, end});
        start = end;
    }
}

std::vector<TimeSpan> tradingDays(Venue venue, const TimeSpan &span)
{
    std::vector<TimeSpan> pieces;
    for (qint64 day = tradingDayFrom(venue, chinaMidnight(span.start)); day < span.end;
         day = tradingDayFrom(venue, day + dayMs)) {
        const TimeSpan hours = tradingHours(venue, day);
        const TimeSpan piece{std::max(span.start, hours.start), std::min(span.end, hours.end)};
        if (piece.start < piece.end)
            pieces.push_back(piece);
    }
    return pieces;
}

std::vector<TimeSpan> tradingMinutes(Venue venue, const TimeSpan &span)
{
    std::vector<TimeSpan> pieces;
    const qint64 midnight = chinaMidnight(span.start);
    const auto [morning, afternoon] = sessions(venue);
    for (const Session &session : {morning, afternoon}) {
        const TimeSpan part{std::max(span.start, midnight + session.start * minuteMs),
                            std::min(span.end, midnight + session.end * minuteMs)};
        if (part.start < part.end)
            appendAligned(pieces, part, minuteMs);
    }
    return pieces;
}

} // namespace

std::optional<Interval> intervalFromText(QByteArrayView text, qint64 offset)
{
    if (text == "1w" || text == "7d")
        return Interval{Interval::Unit::week, 7 * dayMs, offset};
    if (text == "1M" || text == "30d")
        return Interval{Interval::Unit::month, 30 * dayMs, offset};
    static constexpr std::pair<const char *, qint64> table[] = {
        {"10s", 10 * secondMs}, {"1m", minuteMs},       {"3m", 3 * minuteMs}, {"5m", 5 * minuteMs},
        {"15m", 15 * minuteMs}, {"30m", 30 * minuteMs}, {"1h", hourMs},       {"2h", 2 * hourMs},
        {"4h", 4 * hourMs},     {"6h", 6 * hourMs},     {"8h", 8 * hourMs},   {"12h", 12 * hourMs},
        {"1d", dayMs}};
    for (const auto &[name, length] : table) {
        if (text == QByteArrayView(name))
            return Interval{Interval::Unit::fixed, length, offset};
    }
    return std::nullopt;
}

qint64 bucketStart(const Interval &interval, qint64 time)
{
    const qint64 local = time + interval.offset;
    switch (interval.unit) {
    case Interval::Unit::fixed:
        break;
    case Interval::Unit::week: {
        const sys_days day = dayOf(local);
        return toMs(day - (std::chrono::weekday(day) - std::chrono::Monday)) - interval.offset;
    }
    case Interval::Unit::month: {
        const year_month_day date(dayOf(local));
        return toMs(sys_days(date.year() / date.month() / 1)) - interval.offset;
    }
    }
    return floorTo(local, interval.length) - interval.offset;
}

qint64 bucketEnd(const Interval &interval, qint64 start)
{
    if (interval.unit != Interval::Unit::month)
        return start + interval.length;
    const year_month_day date(dayOf(start + interval.offset));
    return toMs(sys_days((date.year() / date.month() + std::chrono::months(1)) / 1)) - interval.offset;
}

qint64 chinaMidnight(qint64 time)
{
    return floorTo(time + chinaOffsetMs, dayMs) - chinaOffsetMs;
}

bool isTradingDay(Venue venue, qint64 midnight)
{
    const sys_days day = dayOf(midnight + chinaOffsetMs);
    const std::chrono::weekday weekday(day);
    if (weekday == std::chrono::Saturday || weekday == std::chrono::Sunday)
        return false;
    const year_month_day date(day);
    const auto month = static_cast<unsigned>(date.month());
    const auto inMonth = static_cast<unsigned>(date.day());
    const unsigned holiday = month * 100 + inMonth;
    if (venue == Venue::hongkong)
        return holiday != 101 && holiday != 501 && holiday != 701 && holiday != 1001 && holiday != 1225;
    return holiday != 101 && !(holiday >= 501 && holiday <= 503) && !(holiday >= 1001 && holiday <= 1007);
}

TimeSpan tradingHours(Venue venue, qint64 midnight)
{
    const auto [morning, afternoon] = sessions(venue);
    return {midnight + morning.start * minuteMs, midnight + afternoon.end * minuteMs};
}

qint64 tradingDayFrom(Venue venue, qint64 midnight)
{
    while (!isTradingDay(venue, midnight))
        midnight += dayMs;
    return midnight;
}

std::vector<TimeSpan> finerSpans(Venue venue, const TimeSpan &span)
{
    std::vector<TimeSpan> pieces;
    const qint64 length = span.end - span.start;
    if (length <= minuteMs) {
        appendAligned(pieces, span, secondMs);
    } else if (venue == Venue::crypto) {
        appendAligned(pieces, span, length > dayMs ? dayMs : length > hourMs ? hourMs : minuteMs);
    } else {
        pieces = length > dayMs ? tradingDays(venue, span) : tradingMinutes(venue, span);
    }
    if (pieces.empty()) // a week of holidays in a history file: its only piece is itself
        pieces.push_back(span);
    return pieces;
}

QByteArray chinaDate(qint64 time)
{
    return chinaTime(time, "yyyy-MM-dd");
}

QByteArray chinaTime(qint64 time, const char *format)
{
    // Shifted by hand: constructing a QTimeZone per row would cost more than the row.
    return QDateTime::fromMSecsSinceEpoch(time + chinaOffsetMs, utcZone)
        .toString(QLatin1String(format))
        .toLatin1();
}

} // namespace kestrune::replay
