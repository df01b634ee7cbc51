// SPDX-License-Identifier: MIT
#include "chart/chartview.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace kestrune {

namespace {

constexpr double fewestCandles = 10;

/// Within the candles; the whole of them is no view of its own.
OptionalChartView withinCandles(ChartView view, std::size_t candles)
{
    const auto all = double(candles);
    if (view.count >= all)
        return std::nullopt;
    view.first = std::clamp(view.first, 0.0, all - view.count);
    return view;
}

} // namespace

ChartView shownOf(const OptionalChartView &view, std::size_t candles)
{
    return view.value_or(ChartView{0, double(candles)});
}

CandleStretch shownCandles(const ChartView &shown, std::size_t candles)
{
    const auto begin = std::size_t(std::clamp(std::floor(shown.first), 0.0, double(candles)));
    const auto end = std::size_t(std::clamp(std::ceil(shown.first + shown.count), 0.0, double(candles)));
    return {begin, std::max(begin, end)};
}

OptionalChartView zoomed(const OptionalChartView &view, std::size_t candles, double factor, double at)
{
    const ChartView shown = shownOf(view, candles);
    if (!(shown.count > 0))
        return std::nullopt;
    const double count = std::max(shown.count * factor, fewestCandles);
    return withinCandles({at - (at - shown.first) * count / shown.count, count}, candles);
}

OptionalChartView panned(const OptionalChartView &view, std::size_t candles, double by)
{
    const ChartView shown = shownOf(view, candles);
    return withinCandles({shown.first + by, shown.count}, candles);
}

OptionalChartView kept(const OptionalChartView &view, std::span<const Candle> before,
                       std::span<const Candle> after)
{
    if (!view || before.empty() || after.empty())
        return std::nullopt;
    // The latest candle that both lists have.
    for (std::size_t old = before.size(); old-- > 0;) {
        const auto found = std::ranges::lower_bound(after, before[old].ts, {}, &Candle::ts);
        if (found == after.end() || found->ts != before[old].ts)
            continue;
        const double moved = double(found - after.begin()) - double(old);
        return withinCandles({view->first + moved, view->count}, after.size());
    }
    return std::nullopt;
}

double PriceScale::y(double price) const
{
    return bottom - (price - low) / (high - low) * (bottom - top);
}

double PriceScale::price(double y) const
{
    return low + (bottom - y) / (bottom - top) * (high - low);
}

} // namespace kestrune
