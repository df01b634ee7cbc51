// SPDX-License-Identifier: MIT
#include "chart/chartscene.h"

#include "analysis/priceformat.h"
#include "chart/charttexts.h"
#include "chart/charttimes.h"
#include "ui/typography.h"

#include <QFontMetricsF>

#include <algorithm>
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

Range pricesToShow(const ChartContent &content, const CandleStretch &shown, bool zoomedIn)
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
    const auto first = std::ceil(prices.low / step);
    for (int i = 0; i < 100 && first + i <= last; ++i) { // of enormous prices the next one may be the same
        const double price = (first + i) * step;
        if (const double y = prices.y(price); y > prices.top + 6 && y < prices.bottom - 6)
            marks.push_back({y, fmtP(price, decimals), false});
    }
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
        , m_stretch(shownCandles(m_shown, content.candles.size()))
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
        base().timeMarks = timeMarks(content, m_stretch, base().times, base().frame.plot);
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

    /// As the panel colours its distances: red above the entry, green below.
    [[nodiscard]] Tone planLevelTone(std::optional<double> price) const
    {
        return price > m_content.plan->entry ? Tone::red : Tone::green;
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
        const auto target = add(plan.target, planLevelTone(plan.target));
        const auto stop = add(plan.stop, planLevelTone(plan.stop));
        if (!hasWords() || !entry)
            return;
        std::vector<PlanText> texts;
        const auto between = [&](double from, double to, const QString &text, Tone tone) {
            if (!text.isEmpty())
                texts.push_back({(from + to - chartLabelHeight) / 2, text, tone});
        };
        if (target) {
            between(*entry, *target, plan.targetText, planLevelTone(plan.target));
            between(*entry, *target, plan.ratioText, Tone::secondary);
        }
        if (stop)
            between(*entry, *stop, plan.stopText, planLevelTone(plan.stop));
        std::ranges::stable_sort(texts, {}, &PlanText::top);
        std::vector<double> tops(texts.size());
        std::ranges::transform(texts, tops.begin(), &PlanText::top);
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
            addLabel(plan->target, u"止盈"_s, planLevelTone(plan->target));
            addLabel(plan->stop, u"止损"_s, planLevelTone(plan->stop));
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
    CandleStretch m_stretch;
    QSizeF m_size;
    ChartScene m_scene;
};

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
        while (blocks.size() > 1 && blocks[blocks.size() - 2].top() > blocks.back().top()) {
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

} // namespace kestrune
