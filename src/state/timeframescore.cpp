// SPDX-License-Identifier: MIT
#include "state/timeframescore.h"

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

constexpr std::size_t minScoredCandles = 50;

/// One addend of the score; an empty phrase says nothing.
struct Component
{
    double score = 0;
    QString phrase;
};

Component averagesComponent(const IndicatorReadings &readings, double price)
{
    if (!readings.ema50)
        return {};
    const double ema50 = *readings.ema50;
    if (readings.ema200 && price > ema50 && *readings.ema200 < ema50)
        return {2, u"均线多头"_s};
    if (readings.ema200 && price < ema50 && ema50 < *readings.ema200)
        return {-2, u"均线空头"_s};
    if (price > ema50)
        return {1, u"站上EMA50"_s};
    return {-1, u"跌破EMA50"_s};
}

Component rsiComponent(const std::optional<double> &rsi)
{
    if (rsi && *rsi > 60)
        return {1, u"RSI偏强"_s};
    if (rsi && *rsi < 40)
        return {-1, u"RSI偏弱"_s};
    return {};
}

// deliberate: equality is bearish here, since a score takes a side; the context readout calls it flat

Component macdComponent(const std::optional<MacdResult> &macd)
{
    if (!macd)
        return {};
    return macd->hist > 0 ? Component{1, u"MACD多头"_s} : Component{-1, u"MACD空头"_s};
}

Component vwapComponent(const std::optional<double> &vwap, double price)
{
    if (!vwap)
        return {};
    return price > *vwap ? Component{1, u"价在VWAP上"_s} : Component{-1, u"价在VWAP下"_s};
}

} // namespace

ScoreWithReason scoreReadings(const IndicatorReadings &readings, double price)
{
    const Component components[]{
        averagesComponent(readings, price),
        rsiComponent(readings.rsi14),
        macdComponent(readings.macd),
        vwapComponent(readings.vwap, price),
    };
    ScoreWithReason result;
    for (const Component &component : components) {
        result.score += component.score;
        // Only the first phrase is shown: there is room for one.
        if (result.reason.isEmpty())
            result.reason = component.phrase;
    }
    if (result.reason.isEmpty())
        result.reason = u"—"_s;
    return result;
}

TimeframeSignal scoreTimeframe(const QString &label, std::span<const Candle> candles, double price)
{
    const ScoreWithReason result = candles.size() < minScoredCandles
                                       ? ScoreWithReason{0, u"数据不足"_s}
                                       : scoreReadings(readIndicators(candles), price);
    return {label, result.score, signalTypeForScore(result.score), result.reason};
}

} // namespace kestrune
