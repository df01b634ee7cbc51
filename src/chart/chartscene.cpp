// SPDX-License-Identifier: MIT
#include "chart/chartscene.h"

#include "analysis/priceformat.h"
#include "ui/typography.h"

#include <QDateTime>
#include <QFontMetricsF>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr double headHeight = 24;
constexpr double timesHeight = 20;
constexpr double volumeShare = 0.2;
constexpr double volumeGap = 6;
constexpr double widestCandle = 14;
constexpr double leftMargin = 4;
constexpr double roomBehind = 10; // between the last candle and the labels
constexpr double planRoom = 74;   // the same with a plan's bracket in it
constexpr double notesLead = 12;  // hairline before the words
constexpr double axisPadding = 6;
constexpr double fullWidth = 480; // what is narrower has no room for words beside the prices
constexpr double pricePadding = 0.05;
constexpr double flattest = 0.002; // of the price: what moves less looks flat
constexpr double leastBand = 2;

/// What is told at all times: candles from `begin` up to `end`.
struct Stretch
{
    std::size_t begin;
    std::size_t end;
};

Stretch stretchOf(const ChartView &shown, std::size_t candles)
{
    const auto begin = std::size_t(std::clamp(std::floor(shown.first), 0.0, double(candles)));
    const auto end = std::size_t(std::clamp(std::ceil(shown.first + shown.count), 0.0, double(candles)));
    return {begin, std::max(begin, end)};
}

struct Range
{
    double low;
    double high;

    void take(double value)
    {
        low = std::min(low, value);
        high = std::max(high, value);
    }
};

/// From the lowest to the highest of sorted values, without the few at either end that would flatten all
/// others.
Range withoutSpikes(std::vector<double> lows, std::vector<double> highs)
{
    constexpr double tooFar = 5;
    std::ranges::sort(lows);
    std::ranges::sort(highs);
    const Range full{lows.front(), highs.back()};
    const std::size_t spared = lows.size() < 10 ? 0 : std::max<std::size_t>(1, lows.size() / 50);
    const Range core{lows[spared], highs[highs.size() - 1 - spared]};
    const double span = std::max(core.high - core.low, std::abs(core.high) * flattest);
    if (full.high - full.low <= span * tooFar)
        return full;
    return {std::max(full.low, core.low - span / 4), std::min(full.high, core.high + span / 4)};
}

Range pricesToShow(const ChartContent &content, const Stretch &shown, bool zoomedIn)
{
    std::vector<double> lows;
    std::vector<double> highs;
    for (std::size_t i = shown.begin; i < shown.end; ++i) {
        lows.push_back(content.candles[i].l);
        highs.push_back(content.candles[i].h);
    }
    Range range = withoutSpikes(std::move(lows), std::move(highs));
    const double span = std::max(range.high - range.low, range.high * flattest);
    const double reach = zoomedIn ? span / 2 : span;
    const Range near{range.low - reach, range.high + reach};
    const auto takeNear = [&](double value) {
        if (value >= near.low && value <= near.high)
            range.take(value);
    };
    // The whole of the candles shows with everything that is told of them, a part with what is near.
    for (const ChartZone &zone : content.zones) {
        if (!zoomedIn || (zone.lo >= near.low && zone.hi <= near.high)) {
            range.take(zone.lo);
            range.take(zone.hi);
        }
    }
    if (content.price)
        takeNear(content.price->value);
    if (content.plan) {
        takeNear(content.plan->entry);
        takeNear(content.plan->stop);
        takeNear(content.plan->target.value_or(content.plan->entry));
    }
    for (const ChartBell &bell : content.bells)
        takeNear(bell.price);
    const double least = std::max(range.high * flattest, 8 * std::pow(10, -content.decimals));
    const double missing = std::max(0.0, least - (range.high - range.low));
    range = {range.low - missing / 2, range.high + missing / 2};
    const double padding = (range.high - range.low) * pricePadding;
    return {range.low - padding, range.high + padding};
}

/// The least of 1, 2, 2.5 and 5 times a power of ten that is not below `least`.
double niceStep(double least)
{
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 2.5, 5.0}) {
        if (power * factor >= least * (1 - 1e-9))
            return power * factor;
    }
    return power * 10;
}

std::vector<AxisMark> priceMarksOf(const PriceScale &prices, int decimals)
{
    constexpr double apart = 44;
    std::vector<AxisMark> marks;
    const double least = (prices.high - prices.low) * apart / (prices.bottom - prices.top);
    const double step = niceStep(std::max(least, std::pow(10, -decimals)));
    const auto last = std::floor(prices.high / step);
    for (auto i = std::ceil(prices.low / step); i <= last; ++i) {
        if (const double y = prices.y(i * step); y > prices.top + 6 && y < prices.bottom - 6)
            marks.push_back({y, fmtP(i * step, decimals), false});
    }
    return marks;
}

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

std::vector<AxisMark> timeMarksOf(const ChartContent &content, const Stretch &shown, const TimeScale &times,
                                  const QRectF &plot)
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
    std::vector<Range> taken;
    for (const std::size_t i : order) {
        const double half = textWidth(marks[i].text, TypeRole::caption) / 2.0;
        const Range own{marks[i].at - half, marks[i].at + half};
        const bool free = own.low >= plot.left() + 2 && std::ranges::none_of(taken, [&](const Range &other) {
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

/// Builds one scene; members in the order in which they are needed.
class SceneMaker
{
public:
    SceneMaker(const ChartContent &content, const OptionalChartView &view, const QSizeF &size, double scale)
        : m_content(content)
        , m_scale(scale)
        , m_shown(shownOf(view, content.candles.size()))
        , m_stretch(stretchOf(m_shown, content.candles.size()))
        , m_size(size)
    {
        m_scene.base.message = content.message;
        if (m_stretch.begin == m_stretch.end || size.width() < 80 || size.height() < 80) {
            m_scene.base.frame.plot = QRectF({}, size);
            return;
        }
        const Range range = pricesToShow(content, m_stretch, view.has_value());
        layOut(range);
        placeCandles();
        placeBands();
        placeCurves();
        placeLevels();
        placeLabels();
        placeBells();
        base().priceMarks = priceMarksOf(base().prices, content.decimals);
        for (AxisMark &mark : base().priceMarks) {
            mark.at = snapped(mark.at);
            // A label stands in its place.
            if (std::ranges::any_of(m_scene.labels, [&](const ChartLabel &label) {
                    return std::abs(label.top + chartLabelHeight / 2 - mark.at) < chartLabelHeight;
                }))
                mark.text.clear();
        }
        base().timeMarks = timeMarksOf(content, m_stretch, base().times, base().frame.plot);
    }

    [[nodiscard]] ChartScene take() { return std::move(m_scene); }

private:
    ChartBase &base() { return m_scene.base; }
    [[nodiscard]] double snapped(double value) const { return std::round(value * m_scale) / m_scale; }

    [[nodiscard]] bool hasWords() const { return m_size.width() >= fullWidth; }

    void layOut(const Range &range)
    {
        const bool full = hasWords();
        double axisWidth = 0;
        for (const double price : {range.low, range.high})
            axisWidth = std::max(axisWidth,
                                 double(textWidth(fmtP(price, m_content.decimals), TypeRole::captionBold)));
        axisWidth += 2 * axisPadding;
        double notesWidth = 0;
        if (full) {
            for (const ChartZone &zone : m_content.zones)
                notesWidth = std::max(notesWidth, double(textWidth(zone.note, TypeRole::tag)));
            notesWidth = std::clamp(notesWidth, 56.0, m_size.width() * 0.2);
        }
        notesWidth += notesLead;
        ChartFrame &frame = base().frame;
        const double right = std::round(m_size.width() - axisWidth - notesWidth);
        const double bottom = m_size.height() - timesHeight;
        const bool hasVolume =
            std::ranges::any_of(m_content.candles, [](const Candle &c) { return c.v > 0; });
        const double volumeHeight = hasVolume ? std::round((bottom - headHeight) * volumeShare) : 0;
        const double plotBottom = bottom - volumeHeight - (hasVolume ? volumeGap : 0);
        frame.head = QRectF(0, 0, m_size.width(), headHeight);
        frame.plot = QRectF(QPointF(0, headHeight), QPointF(right, plotBottom));
        frame.volume = hasVolume ? QRectF(0, bottom - volumeHeight, right, volumeHeight) : QRectF();
        frame.notes = QRectF(QPointF(right, headHeight), QPointF(right + notesWidth, plotBottom));
        frame.axis = QRectF(QPointF(right + notesWidth, headHeight), QPointF(m_size.width(), plotBottom));
        frame.times = QRectF(0, bottom, right, timesHeight);
        base().prices = {range.low, range.high, headHeight, plotBottom};
        const double behind = full && m_content.plan ? planRoom : roomBehind;
        const double pitch = std::min(widestCandle, (right - behind - leftMargin) / m_shown.count);
        base().times = {right - behind - pitch * m_shown.count, pitch, m_shown.first};
        m_scene.planX = right - behind + roomBehind;
    }

    void placeCandles()
    {
        const TimeScale &times = base().times;
        const PriceScale &prices = base().prices;
        const QRectF &volume = base().frame.volume;
        std::vector<double> volumes;
        for (std::size_t i = m_stretch.begin; i < m_stretch.end; ++i)
            volumes.push_back(m_content.candles[i].v);
        const double most = withoutSpikes(volumes, volumes).high;
        // An odd number of device pixels, so that the wick stands in the middle.
        const double odd = std::floor(std::max(1.0, times.pitch * m_scale * 0.72 - 1) / 2) * 2 + 1;
        const auto y = [&](double price) {
            return snapped(prices.y(std::clamp(price, prices.low, prices.high)));
        };
        for (std::size_t i = m_stretch.begin; i < m_stretch.end; ++i) {
            const Candle &candle = m_content.candles[i];
            CandleMark mark{};
            mark.stem = std::floor(times.x(double(i) + 0.5) * m_scale) / m_scale;
            mark.width = odd / m_scale;
            mark.left = mark.stem - (odd - 1) / 2 / m_scale;
            mark.high = y(candle.h);
            mark.low = y(candle.l);
            mark.top = y(std::max(candle.o, candle.c));
            mark.bottom = std::max(y(std::min(candle.o, candle.c)), mark.top + 1 / m_scale);
            mark.low = std::max(mark.low, mark.bottom);
            mark.rising = candle.c >= candle.o;
            const double part = most > 0 ? std::min(candle.v / most, 1.0) : 0;
            mark.volumeTop = snapped(volume.bottom() - part * volume.height());
            base().candles.push_back(mark);
            if (candle.h > prices.high)
                base().beyond.emplace_back(mark.stem, prices.top);
            if (candle.l < prices.low)
                base().beyond.emplace_back(mark.stem, prices.bottom);
        }
    }

    void placeBands()
    {
        const TimeScale &times = base().times;
        const QRectF &plot = base().frame.plot;
        for (const ChartZone &zone : m_content.zones) {
            const std::size_t last = m_content.candles.size() - 1;
            const auto since = double(firstTouch(m_content.candles, zone.lo, zone.hi).value_or(last));
            const double left = snapped(std::clamp(times.x(since), plot.left(), plot.right()));
            double top = snapped(base().prices.y(zone.hi));
            double bottom = snapped(base().prices.y(zone.lo));
            if (bottom - top < leastBand) {
                top = snapped((top + bottom - leastBand) / 2);
                bottom = top + leastBand;
            }
            const QRectF rect = QRectF(QPointF(left, top), QPointF(plot.right(), bottom)).intersected(plot);
            base().bands.push_back({rect, zoneTone(zone), zone.weight, zone.golden, zone.picked});
        }
    }

    void placeCurves()
    {
        for (const ChartLine &line : m_content.lines) {
            CurveMark curve{line.kind, {}};
            const std::size_t offset = m_content.candles.size() - line.values.size();
            // One beyond either end, so that the line runs on to the edge.
            const std::size_t begin = std::max(offset, m_stretch.begin - (m_stretch.begin > 0 ? 1 : 0));
            const std::size_t end = std::min(m_content.candles.size(), m_stretch.end + 1);
            for (std::size_t i = begin; i < end; ++i)
                curve.points.append(
                    {base().times.x(double(i) + 0.5), base().prices.y(line.values[i - offset])});
            if (curve.points.size() > 1)
                base().curves.push_back(std::move(curve));
        }
    }

    [[nodiscard]] std::optional<double> shownY(std::optional<double> price)
    {
        return price && base().prices.holds(*price) ? std::optional(snapped(base().prices.y(*price)))
                                                    : std::nullopt;
    }

    void placeLevels()
    {
        if (m_content.price) {
            if (const auto y = shownY(m_content.price->value))
                m_scene.price = LevelMark{*y, m_content.price->live ? Tone::accent : Tone::secondary};
        }
        if (!m_content.plan)
            return;
        const ChartPlan &plan = *m_content.plan;
        const auto entry = shownY(plan.entry);
        const auto add = [&](std::optional<double> price, Tone tone) {
            const auto y = shownY(price);
            if (y)
                m_scene.plan.push_back({*y, tone});
            return y;
        };
        add(plan.entry, Tone::blue);
        const auto target = add(plan.target, Tone::red); // as the panel colours gain and loss
        const auto stop = add(plan.stop, Tone::green);
        if (!hasWords() || !entry)
            return;
        std::vector<PlanText> texts;
        const auto between = [&](double from, double to, const QString &text, Tone tone) {
            if (!text.isEmpty())
                texts.push_back({(from + to - chartLabelHeight) / 2, text, tone});
        };
        if (target) {
            between(*entry, *target, plan.targetText, Tone::red);
            between(*entry, *target, plan.ratioText, Tone::secondary);
        }
        if (stop)
            between(*entry, *stop, plan.stopText, Tone::green);
        std::ranges::stable_sort(texts, {}, &PlanText::top);
        std::vector<double> tops;
        for (const PlanText &text : texts)
            tops.push_back(text.top);
        const QRectF &plot = base().frame.plot;
        tops = movedApart(std::move(tops), chartLabelHeight, plot.top(), plot.bottom());
        for (std::size_t i = 0; i < texts.size(); ++i)
            texts[i].top = std::round(tops[i]);
        m_scene.planTexts = std::move(texts);
    }

    void addLabel(std::optional<double> price, const QString &note, Tone tone,
                  ChartLabel::Look look = ChartLabel::Look::words)
    {
        if (const auto y = shownY(price))
            m_scene.labels.push_back({.anchor = *y,
                                      .top = 0,
                                      .price = fmtP(*price, m_content.decimals),
                                      .note = note,
                                      .tone = tone,
                                      .look = look});
    }

    // The first ones stay where there is no room for all.
    void placeLabels()
    {
        const auto &plan = m_content.plan;
        const bool atPrice = plan && m_content.price && plan->entry == m_content.price->value;
        if (m_content.price) {
            addLabel(m_content.price->value, atPrice ? u"现价 · 进场"_s : u"现价"_s, Tone::accent,
                     m_content.price->live ? ChartLabel::Look::live : ChartLabel::Look::dimmed);
        }
        if (plan) {
            if (!atPrice)
                addLabel(plan->entry, u"进场"_s, Tone::blue);
            addLabel(plan->target, u"止盈"_s, Tone::red);
            addLabel(plan->stop, u"止损"_s, Tone::green);
        }
        const double here = m_content.price ? m_content.price->value : m_content.candles.back().c;
        std::vector<std::size_t> order(m_content.zones.size());
        std::iota(order.begin(), order.end(), 0);
        std::ranges::stable_sort(order, {},
                                 [&](std::size_t i) { return std::abs(m_content.zones[i].mid - here); });
        for (const std::size_t i : order) {
            const ChartZone &zone = m_content.zones[i];
            const auto before = m_scene.labels.size();
            addLabel(zone.mid, elidedNote(zone.note), zoneTone(zone));
            if (m_scene.labels.size() > before) {
                m_scene.labels.back().golden = zone.golden;
                m_scene.labels.back().zone = i;
            }
        }
        const QRectF &plot = base().frame.plot;
        const auto room = std::size_t(plot.height() / chartLabelHeight);
        if (m_scene.labels.size() > room)
            m_scene.labels.erase(m_scene.labels.begin() + std::ptrdiff_t(room), m_scene.labels.end());
        std::ranges::stable_sort(m_scene.labels, {}, &ChartLabel::anchor);
        std::vector<double> tops;
        for (ChartLabel &label : m_scene.labels) {
            if (!hasWords())
                label.note.clear();
            tops.push_back(label.anchor - chartLabelHeight / 2);
        }
        tops = movedApart(std::move(tops), chartLabelHeight, plot.top(), plot.bottom());
        for (std::size_t i = 0; i < tops.size(); ++i)
            m_scene.labels[i].top = std::round(tops[i]);
    }

    [[nodiscard]] QString elidedNote(const QString &note)
    {
        const double room = base().frame.notes.width() - notesLead;
        return textWidth(note, TypeRole::tag) <= room + 1
                   ? note
                   : QFontMetricsF(fontFor(TypeRole::tag)).elidedText(note, Qt::ElideRight, room);
    }

    void placeBells()
    {
        for (std::size_t i = 0; i < m_content.bells.size(); ++i) {
            if (const auto y = shownY(m_content.bells[i].price))
                m_scene.bells.push_back({i, *y, 0, fmtP(m_content.bells[i].price, m_content.decimals)});
        }
        std::ranges::stable_sort(m_scene.bells, {}, &BellMark::anchor);
        std::vector<double> tops;
        for (const BellMark &bell : m_scene.bells)
            tops.push_back(bell.anchor - chartBellHeight / 2);
        const QRectF &plot = base().frame.plot;
        tops = movedApart(std::move(tops), chartBellHeight, plot.top(), plot.bottom());
        for (std::size_t i = 0; i < tops.size(); ++i)
            m_scene.bells[i].top = std::round(tops[i]);
    }

    const ChartContent &m_content;
    double m_scale;
    ChartView m_shown;
    Stretch m_stretch;
    QSizeF m_size;
    ChartScene m_scene;
};

QString volumeText(double volume)
{
    if (volume >= 1e8)
        return QString::number(volume / 1e8, 'f', 2) + u" 亿"_s;
    if (volume >= 1e4)
        return QString::number(volume / 1e4, 'f', 2) + u" 万"_s;
    return QString::number(volume, 'f', volume < 100 ? 2 : 0);
}

} // namespace

ChartScene makeChartScene(const ChartContent &content, const OptionalChartView &view, const QSizeF &size,
                          double scale)
{
    return SceneMaker(content, view, size, scale).take();
}

// Lines that would lie over one another become a block, which stands where its lines want to be on average.
std::vector<double> movedApart(std::vector<double> wanted, double height, double from, double to)
{
    struct Block
    {
        double sum; ///< of the wanted tops, each less what stands above it in the block
        double count;
        [[nodiscard]] double top() const { return sum / count; }
    };
    std::vector<Block> blocks;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        blocks.push_back({wanted[i] - double(i) * height, 1});
        while (blocks.size() > 1 && blocks.end()[-2].top() > blocks.back().top()) {
            const Block last = blocks.back();
            blocks.pop_back();
            blocks.back().sum += last.sum;
            blocks.back().count += last.count;
        }
    }
    const double lowest = std::max(from, to - double(wanted.size()) * height);
    std::size_t i = 0;
    for (const Block &block : blocks) {
        const double top = std::clamp(block.top(), from, lowest);
        for (double n = 0; n < block.count; ++n, ++i)
            wanted[i] = top + double(i) * height;
    }
    return wanted;
}

std::optional<std::size_t> candleAt(const ChartScene &scene, const ChartContent &content, double x)
{
    if (content.candles.empty() || scene.base.candles.empty())
        return std::nullopt;
    const double first = std::ceil(scene.base.times.first - 0.5);
    const double index = std::floor(scene.base.times.index(x));
    const double last =
        std::min(double(content.candles.size() - 1), first + double(scene.base.candles.size()) - 1);
    return std::size_t(std::clamp(index, std::min(std::max(first, 0.0), last), last));
}

std::optional<std::size_t> bandAt(const ChartScene &scene, const QPointF &place)
{
    constexpr double reach = 2; // thin bands can be met too
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < scene.base.bands.size(); ++i) {
        const QRectF &rect = scene.base.bands[i].rect;
        if (rect.adjusted(0, -reach, 0, reach).contains(place) &&
            (!found || rect.height() < scene.base.bands[*found].rect.height()))
            found = i;
    }
    for (const ChartLabel &label : scene.labels) {
        if (label.zone && place.x() > scene.base.frame.plot.right() && place.y() >= label.top &&
            place.y() < label.top + chartLabelHeight)
            found = label.zone;
    }
    return found;
}

std::optional<std::size_t> bellAt(const ChartScene &scene, const QPointF &place)
{
    for (const BellMark &bell : scene.bells) {
        const double width = chartBellHeight + 4 + textWidth(bell.text, TypeRole::tag);
        if (QRectF(scene.base.frame.plot.left(), bell.top, width, chartBellHeight).contains(place))
            return bell.bell;
    }
    return std::nullopt;
}

std::optional<double> priceAt(const ChartScene &scene, const ChartContent &content, double y)
{
    const PriceScale &prices = scene.base.prices;
    if (scene.base.candles.empty() || y < prices.top || y > prices.bottom)
        return std::nullopt;
    const double price = roundedDecimal(prices.price(y), content.decimals).toDouble();
    return price > 0 ? std::optional(price) : std::nullopt;
}

QString candleTime(const ChartContent &content, std::size_t candle)
{
    return QDateTime::fromMSecsSinceEpoch(content.candles[candle].ts, content.timeZone)
        .toString(content.intraday ? u"yyyy-MM-dd HH:mm"_s : u"yyyy-MM-dd"_s);
}

CandleWords candleWords(const ChartContent &content, std::size_t candle)
{
    const Candle &own = content.candles[candle];
    const double before = candle > 0 ? content.candles[candle - 1].c : own.o;
    const auto price = [&](double value) { return fmtP(value, content.decimals); };
    const double change = before > 0 ? (own.c - before) / before * 100 : 0;
    return {u"开 %1  高 %2  低 %3  收 %4"_s.arg(price(own.o), price(own.h), price(own.l), price(own.c)),
            (change >= 0 ? u"+"_s : QString()) + QString::number(change, 'f', 2) + u'%',
            own.v > 0 ? u"量 "_s + volumeText(own.v) : QString(), change >= 0 ? Tone::green : Tone::red};
}

QString zoneWords(const ChartContent &content, std::size_t zone)
{
    const ChartZone &own = content.zones[zone];
    QString words = (own.isResistance() ? u"阻力 "_s : u"支撑 "_s) + fmtP(own.mid, content.decimals);
    if (!own.tags.isEmpty())
        words += u" · "_s + own.tags;
    return words + u" · 触及 %1 次"_s.arg(touches(content.candles, own.lo, own.hi));
}

QString chartDescription(const ChartContent &content, const OptionalChartView &view,
                         std::optional<double> cursor)
{
    const Stretch shown = stretchOf(shownOf(view, content.candles.size()), content.candles.size());
    if (shown.begin == shown.end)
        return content.title.isEmpty() ? content.message : content.title + u"，"_s + content.message;
    QStringList parts{content.title,
                      candleTime(content, shown.begin) + u" 至 "_s + candleTime(content, shown.end - 1),
                      u"最新收盘 "_s + fmtP(content.candles.back().c, content.decimals)};
    const double here = content.price ? content.price->value : content.candles.back().c;
    for (const bool above : {true, false}) {
        const ChartZone *nearest = nullptr;
        for (const ChartZone &zone : content.zones) {
            if (zone.isResistance() == above &&
                (!nearest || std::abs(zone.mid - here) < std::abs(nearest->mid - here)))
                nearest = &zone;
        }
        if (nearest)
            parts.append((above ? u"最近阻力 "_s : u"最近支撑 "_s) + fmtP(nearest->mid, content.decimals));
    }
    if (cursor)
        parts.append(u"光标 "_s + fmtP(*cursor, content.decimals));
    return parts.join(u"，"_s);
}

Tone zoneTone(const ChartZone &zone)
{
    return zone.isResistance() ? Tone::red : Tone::green;
}

} // namespace kestrune
