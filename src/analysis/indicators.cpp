// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"

#include <algorithm>
#include <cmath>

namespace kestrune {

namespace {

/// True when `period` values exist; safe for every int.
bool covers(std::size_t count, int period)
{
    return period >= 1 && count >= static_cast<std::size_t>(period);
}

double sumOf(std::span<const double> values)
{
    double sum = 0;
    for (const double value : values)
        sum += value;
    return sum;
}

/// Smoothing factors of an exponential average; the period is taken as double, so that none overflows.
struct EmaFactors
{
    explicit constexpr EmaFactors(int period) : fresh(2 / (static_cast<double>(period) + 1)), kept(1 - fresh)
    {}

    [[nodiscard]] double next(double average, double value) const { return kept * average + fresh * value; }

    double fresh;
    double kept;
};

double trueRange(const Candle &candle, double previousClose)
{
    return std::max(
        {candle.h - candle.l, std::abs(candle.h - previousClose), std::abs(candle.l - previousClose)});
}

double typicalPrice(const Candle &candle)
{
    return (candle.h + candle.l + candle.c) / 3;
}

double gainOf(double change)
{
    return change > 0 ? change : 0;
}

double lossOf(double change)
{
    return change < 0 ? -change : 0;
}

double rsiOf(double avgGain, double avgLoss)
{
    if (!(avgLoss > 0))
        return 100; // deliberate: a flat series reads 100 too, not 50
    const double strength = avgGain / avgLoss;
    return 100 - 100 / (1 + strength);
}

/// The readings' running values. Each recurrence is a chain of dependent operations that leaves the processor
/// idle most of the time, so all of them advance together. A chain also runs, harmlessly, before its seed is
/// complete; the seed then overwrites it.
struct Chains
{
    static constexpr int rsiPeriod = 14;

    void advance(const Candle &candle)
    {
        const double close = candle.c;
        closeSum += close;
        ema50 = ema50Factors.next(ema50, close);
        ema144 = ema144Factors.next(ema144, close);
        ema169 = ema169Factors.next(ema169, close);
        ema200 = ema200Factors.next(ema200, close);
        fast = fastFactors.next(fast, close);
        slow = slowFactors.next(slow, close);
        line = fast - slow;
        lineSum += line;
        signal = signalFactors.next(signal, line);

        const double change = close - previousClose;
        previousClose = close;
        gainSum += gainOf(change);
        lossSum += lossOf(change);
        avgGain = (avgGain * (rsiPeriod - 1) + gainOf(change)) / rsiPeriod;
        avgLoss = (avgLoss * (rsiPeriod - 1) + lossOf(change)) / rsiPeriod;

        weighted += candle.v * typicalPrice(candle);
        volume += candle.v;
    }

    static constexpr EmaFactors ema50Factors{50}, ema144Factors{144}, ema169Factors{169}, ema200Factors{200},
        fastFactors{12}, slowFactors{26}, signalFactors{9};

    double closeSum = 0;
    double ema50 = 0, ema144 = 0, ema169 = 0, ema200 = 0;
    double fast = 0, slow = 0, line = 0, lineSum = 0, signal = 0;
    double previousClose = 0, gainSum = 0, lossSum = 0, avgGain = 0, avgLoss = 0;
    double weighted = 0, volume = 0;
};

} // namespace

std::optional<double> sma(std::span<const double> values, int period)
{
    if (!covers(values.size(), period))
        return std::nullopt;
    return sumOf(values.last(static_cast<std::size_t>(period))) / period;
}

std::optional<std::vector<double>> emaSeries(std::span<const double> values, int period)
{
    if (!covers(values.size(), period))
        return std::nullopt;
    const auto seedCount = static_cast<std::size_t>(period);
    const EmaFactors factors(period);
    std::vector<double> series;
    series.reserve(values.size() - seedCount + 1);
    double average = sumOf(values.first(seedCount)) / period;
    series.push_back(average);
    for (const double value : values.subspan(seedCount)) {
        average = factors.next(average, value);
        series.push_back(average);
    }
    return series;
}

std::optional<double> ema(std::span<const double> values, int period)
{
    if (!covers(values.size(), period))
        return std::nullopt;
    const auto seedCount = static_cast<std::size_t>(period);
    const EmaFactors factors(period);
    double average = sumOf(values.first(seedCount)) / period;
    for (const double value : values.subspan(seedCount))
        average = factors.next(average, value);
    return average;
}

std::optional<double> atr(std::span<const Candle> candles, int period)
{
    // The first candle has no true range, so one more candle than the period is needed.
    if (period < 1 || !covers(candles.size(), period) || candles.size() == static_cast<std::size_t>(period))
        return std::nullopt;
    double sum = 0;
    for (std::size_t i = candles.size() - static_cast<std::size_t>(period); i < candles.size(); ++i)
        sum += trueRange(candles[i], candles[i - 1].c);
    return sum / period;
}

std::optional<double> rsi(std::span<const double> values, int period)
{
    if (static_cast<qint64>(values.size()) <= period)
        return std::nullopt;
    if (period < 1)
        qFatal("rsi: the period %d is below 1", period);
    double avgGain = 0;
    double avgLoss = 0;
    const auto seedCount = static_cast<std::size_t>(period);
    for (std::size_t i = 1; i <= seedCount; ++i) {
        const double change = values[i] - values[i - 1];
        avgGain += gainOf(change);
        avgLoss += lossOf(change);
    }
    avgGain /= period;
    avgLoss /= period;
    const double before = static_cast<double>(period) - 1;
    for (std::size_t i = seedCount + 1; i < values.size(); ++i) {
        const double change = values[i] - values[i - 1];
        avgGain = (avgGain * before + gainOf(change)) / period;
        avgLoss = (avgLoss * before + lossOf(change)) / period;
    }
    return rsiOf(avgGain, avgLoss);
}

std::optional<MacdResult> macd(std::span<const double> values, int fast, int slow, int signalP)
{
    const auto fastSeries = emaSeries(values, fast);
    const auto slowSeries = emaSeries(values, slow);
    if (!fastSeries || !slowSeries)
        return std::nullopt;
    const std::size_t count = std::min(fastSeries->size(), slowSeries->size());
    std::vector<double> line(count);
    for (std::size_t i = 0; i < count; ++i)
        line[i] =
            (*fastSeries)[fastSeries->size() - count + i] - (*slowSeries)[slowSeries->size() - count + i];
    const auto signal = ema(line, signalP);
    if (!signal)
        return std::nullopt;
    return MacdResult{line.back(), *signal, line.back() - *signal};
}

std::optional<double> vwap(std::span<const Candle> candles)
{
    double weighted = 0;
    double volume = 0;
    for (const Candle &candle : candles) {
        weighted += candle.v * typicalPrice(candle);
        volume += candle.v;
    }
    if (!(volume > 0))
        return std::nullopt;
    return weighted / volume;
}

IndicatorReadings readIndicators(std::span<const Candle> candles)
{
    Chains chains;
    std::size_t done = 0;
    // Advances until `count` candles are done; false when there are fewer.
    const auto reach = [&](std::size_t count) {
        const std::size_t end = std::min(count, candles.size());
        for (; done < end; ++done)
            chains.advance(candles[done]);
        return end == count;
    };

    if (!candles.empty())
        chains.previousClose = candles.front().c;
    IndicatorReadings readings;
    if (reach(12))
        chains.fast = chains.closeSum / 12;
    const bool hasRsi = reach(15); // the first candle has no change
    if (hasRsi) {
        chains.avgGain = chains.gainSum / Chains::rsiPeriod;
        chains.avgLoss = chains.lossSum / Chains::rsiPeriod;
    }
    if (reach(26)) {
        chains.slow = chains.closeSum / 26;
        chains.line = chains.fast - chains.slow;
        chains.lineSum = 0 + chains.line; // as a sum from nothing: of -0.0 it makes 0
    }
    const bool hasMacd = reach(34);
    if (hasMacd)
        chains.signal = chains.lineSum / 9;
    const bool hasEma50 = reach(50);
    if (hasEma50)
        chains.ema50 = chains.closeSum / 50;
    const bool hasEma144 = reach(144);
    if (hasEma144)
        chains.ema144 = chains.closeSum / 144;
    const bool hasEma169 = reach(169);
    if (hasEma169)
        chains.ema169 = chains.closeSum / 169;
    const bool hasEma200 = reach(200);
    if (hasEma200)
        chains.ema200 = chains.closeSum / 200;
    reach(candles.size());

    if (hasEma50)
        readings.ema50 = chains.ema50;
    if (hasEma144)
        readings.ema144 = chains.ema144;
    if (hasEma169)
        readings.ema169 = chains.ema169;
    if (hasEma200)
        readings.ema200 = chains.ema200;
    if (hasRsi)
        readings.rsi14 = rsiOf(chains.avgGain, chains.avgLoss);
    if (hasMacd)
        readings.macd = MacdResult{chains.line, chains.signal, chains.line - chains.signal};
    readings.atr14 = atr(candles);
    if (chains.volume > 0)
        readings.vwap = chains.weighted / chains.volume;
    return readings;
}

} // namespace kestrune
