// SPDX-License-Identifier: MIT
#include "chart/charttimes.h"

#include "chart/charttexts.h"
#include "ui/typography.h"

#include <QDateTime>

#include <algorithm>
#include <array>
#include <functional>
#include <numeric>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

/// A unit of the calendar and how many of it lie between two marks.
struct TimeStep
{
    enum class Unit { hour, day, month, year } unit;
    int every;
};
/// From fine to coarse.
constexpr std::array timeSteps{
    TimeStep{TimeStep::Unit::hour, 1},  TimeStep{TimeStep::Unit::hour, 2},
    TimeStep{TimeStep::Unit::hour, 4},  TimeStep{TimeStep::Unit::hour, 6},
    TimeStep{TimeStep::Unit::hour, 12}, TimeStep{TimeStep::Unit::day, 1},
    TimeStep{TimeStep::Unit::day, 2},   TimeStep{TimeStep::Unit::day, 5},
    TimeStep{TimeStep::Unit::day, 10},  TimeStep{TimeStep::Unit::day, 15},
    TimeStep{TimeStep::Unit::month, 1}, TimeStep{TimeStep::Unit::month, 2},
    TimeStep{TimeStep::Unit::month, 3}, TimeStep{TimeStep::Unit::month, 6},
    TimeStep{TimeStep::Unit::year, 1},  TimeStep{TimeStep::Unit::year, 2},
    TimeStep{TimeStep::Unit::year, 5},  TimeStep{TimeStep::Unit::year, 10},
};

/// A moment on the market's calendar, taken apart once.
struct CalendarTime
{
    qint64 dayNumber;
    int year, month, day, hour, minute;

    explicit CalendarTime(const QDateTime &time)
        : dayNumber(time.date().toJulianDay()), hour(time.time().hour()), minute(time.time().minute())
    {
        time.date().getDate(&year, &month, &day);
    }
};

/// Which of the stretches between two marks a time lies in.
qint64 stretchNumber(const CalendarTime &time, const TimeStep &step)
{
    switch (step.unit) {
    case TimeStep::Unit::hour:
        return time.dayNumber * 24 + time.hour / step.every;
    case TimeStep::Unit::day: // begins anew with each month; the rest of it joins the stretch before
        return (time.year * 12 + time.month) * 32 +
               (step.every == 1 ? time.day : std::min((time.day - 1) / step.every, 30 / step.every - 1));
    case TimeStep::Unit::month:
        return time.year * 12 + (time.month - 1) / step.every;
    case TimeStep::Unit::year:
        break;
    }
    return time.year / step.every;
}

/// The coarsest unit that has changed since `before`, in words.
QString timeMarkText(const CalendarTime &before, const CalendarTime &time)
{
    if (before.year != time.year)
        return u"%1年"_s.arg(time.year);
    if (before.month != time.month)
        return u"%1月"_s.arg(time.month);
    return before.day != time.day
               ? u"%1日"_s.arg(time.day)
               : u"%1:%2"_s.arg(time.hour, 2, 10, QChar(u'0')).arg(time.minute, 2, 10, QChar(u'0'));
}

int timeRank(const QString &text)
{
    return text.endsWith(u'年') ? 3 : text.endsWith(u'月') ? 2 : text.endsWith(u'日') ? 1 : 0;
}

} // namespace

std::vector<AxisMark> timeMarks(const ChartContent &content, const CandleStretch &shown,
                                const TimeScale &times, const QRectF &plot)
{
    constexpr double apart = 68;
    constexpr double gap = 14;
    std::vector<CalendarTime> moments;
    moments.reserve(shown.end - shown.begin);
    for (std::size_t i = shown.begin; i < shown.end; ++i)
        moments.emplace_back(QDateTime::fromMSecsSinceEpoch(content.candles[i].ts, content.timeZone));
    std::vector<AxisMark> marks;
    const double most = std::max(1.0, double(shown.end - shown.begin) * times.pitch / apart);
    for (const TimeStep &step : timeSteps) {
        if (step.unit == TimeStep::Unit::hour && !content.intraday)
            continue;
        marks.clear();
        for (std::size_t i = 1; i < moments.size(); ++i) {
            if (stretchNumber(moments[i], step) == stretchNumber(moments[i - 1], step))
                continue;
            const QString text = timeMarkText(moments[i - 1], moments[i]);
            marks.push_back({times.x(double(shown.begin + i) + 0.5), text});
        }
        if (double(marks.size()) <= most)
            break;
    }
    if (marks.empty() && !moments.empty())
        marks.push_back({times.x(double(shown.begin) + 0.5), candleTime(content, shown.begin).left(10)});
    // The coarser unit stays where two are too close; at the edges a text may not be cut.
    std::vector<std::size_t> order(marks.size());
    std::iota(order.begin(), order.end(), 0);
    std::ranges::stable_sort(order, std::greater(), [&](std::size_t i) { return timeRank(marks[i].text); });
    struct TakenSpan
    {
        double low;
        double high;
    };
    std::vector<TakenSpan> taken;
    for (const std::size_t i : order) {
        const double half = textWidth(marks[i].text, TypeRole::caption) / 2.0;
        const TakenSpan own{marks[i].at - half, marks[i].at + half};
        const bool free =
            own.low >= plot.left() + 2 && std::ranges::none_of(taken, [&](const TakenSpan &other) {
                return own.low < other.high + gap && own.high + gap > other.low;
            });
        if (free || marks.size() == 1)
            taken.push_back(own);
        else
            marks[i].text.clear();
    }
    std::erase_if(marks, [](const AxisMark &mark) { return mark.text.isEmpty(); });
    int finest = 3;
    for (const AxisMark &mark : marks)
        finest = std::min(finest, timeRank(mark.text));
    for (AxisMark &mark : marks)
        mark.strong = timeRank(mark.text) > finest;
    return marks;
}

} // namespace kestrune
