// SPDX-License-Identifier: MIT
#include "market/shanghaitime.h"

#include <QDate>
#include <QDateTime>
#include <QTimeZone>

#include <charconv>
#include <chrono>

namespace kestrune {

namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono;

// The zone's last change of clocks was in September 1991. From here on midnight is plain arithmetic, which
// spares a zone lookup for each of some hundred candle rows; for earlier dates the zone database is asked.
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

/// The number that `text` spells in decimal digits alone; 0 for any other text.
unsigned digits(std::string_view text)
{
    unsigned value = 0;
    const char *const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    return stopped == end ? value : 0;
}

std::optional<year_month_day> parseDate(std::string_view text)
{
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    const unsigned y = digits(text.substr(0, 4));
    const year_month_day date{year{static_cast<int>(y)}, month{digits(text.substr(5, 2))},
                              day{digits(text.substr(8, 2))}};
    return y > 0 && date.ok() ? std::optional(date) : std::nullopt; // there is no year 0
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

std::optional<Instant> shanghaiInstant(QStringView text)
{
    const QString spelled = text.toString();
    for (const QString &format : {u"yyyyMMddHHmmss"_s, u"yyyy/MM/dd HH:mm:ss"_s}) {
        QDateTime local = QDateTime::fromString(spelled, format);
        local.setTimeZone(shanghaiZone());
        if (local.isValid() && local.date().year() >= 1970 &&
            local.date().year() < 2200) // Instant ends in 2262
            return Instant(milliseconds(local.toMSecsSinceEpoch()));
    }
    return std::nullopt;
}

ShanghaiTime shanghaiTime(Instant instant)
{
    const auto epoch = floor<milliseconds>(instant).time_since_epoch();
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(epoch.count(), shanghaiZone());
    return {local.date().dayOfWeek() % 7, local.time().hour() * 60 + local.time().minute()};
}

} // namespace kestrune
