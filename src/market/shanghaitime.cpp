// SPDX-License-Identifier: MIT
#include "market/shanghaitime.h"

#include <QDate>
#include <QDateTime>
#include <QTimeZone>

#include <chrono>

namespace kestrune {

namespace {

using namespace std::chrono;

// The zone's last change of clocks was in September 1991. From here on the offset is plain arithmetic, which
// spares a zone lookup for each of some hundred candle rows; earlier dates ask the zone database.
constexpr sys_days fixedOffsetSince = 1992y / January / 1d;
constexpr hours fixedOffset{8};

const QTimeZone &shanghaiZone()
{
    static const QTimeZone zone = [] {
        const QTimeZone wanted("Asia/Shanghai");
        return wanted.isValid() ? wanted : QTimeZone::systemTimeZone();
    }();
    return zone;
}

/// The number that `text` spells in decimal digits alone; -1 for any other character.
int digits(std::string_view text)
{
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return -1;
        value = value * 10 + (c - '0');
    }
    return value;
}

std::optional<year_month_day> parseDate(std::string_view text)
{
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    const int y = digits(text.substr(0, 4));
    const int m = digits(text.substr(5, 2));
    const int d = digits(text.substr(8, 2));
    if (y < 1 || m < 1 || d < 1) // there is no year 0
        return std::nullopt;
    const year_month_day date{year{y}, month{static_cast<unsigned>(m)}, day{static_cast<unsigned>(d)}};
    return date.ok() ? std::optional(date) : std::nullopt;
}

seconds offsetAt(sys_seconds instant)
{
    if (instant >= fixedOffsetSince)
        return fixedOffset;
    const qint64 epoch = instant.time_since_epoch().count();
    return seconds{shanghaiZone().offsetFromUtc(QDateTime::fromSecsSinceEpoch(epoch, Qt::UTC))};
}

} // namespace

std::optional<qint64> shanghaiMidnight(std::string_view date)
{
    const auto parsed = parseDate(date);
    if (!parsed)
        return std::nullopt;
    const sys_days midnight{*parsed};
    if (midnight >= fixedOffsetSince)
        return milliseconds{midnight.time_since_epoch() - fixedOffset}.count();
    const QDate early{static_cast<int>(parsed->year()), static_cast<int>(unsigned{parsed->month()}),
                      static_cast<int>(unsigned{parsed->day()})};
    return early.startOfDay(shanghaiZone()).toMSecsSinceEpoch();
}

ShanghaiTime shanghaiTime(Instant instant)
{
    const auto utc = floor<seconds>(instant);
    const sys_seconds local = utc + offsetAt(utc);
    const auto midnight = floor<days>(local);
    return {static_cast<int>(weekday{midnight}.c_encoding()),
            static_cast<int>(floor<minutes>(local - midnight).count())};
}

} // namespace kestrune
