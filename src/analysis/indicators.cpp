// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <iterator>
#include <numeric>

namespace kestrune {

namespace {

// Each reading takes its values (or candles) one by one, oldest first, and tells its current value.

/// Mean of the last `period` values.
class Sma
{
public:
    explicit Sma(int period) : m_period(period) {}

    void push(double value)
    {
        m_window.push_back(value);
        if (std::ssize(m_window) > m_period)
            m_window.pop_front();
    }

    [[nodiscard]] std::optional<double> value() const
    {
        if (m_period < 1 || std::ssize(m_window) < m_period)
            return std::nullopt;
        return std::accumulate(m_window.begin(), m_window.end(), 0.0) / m_period;
    }

private:
    int m_period;
    std::deque<double> m_window;
};

/// An average that begins with the mean of the first `period` values; each later value is taken in by `Step`.
template <typename Step>
class SeededAverage
{
public:
    explicit SeededAverage(int period) : m_period(period), m_step(period) {}

    void push(double value)
    {
        ++m_count;
        if (m_count > m_period) {
            m_average = m_step(m_average, value);
            return;
        }
        m_average += value; // only a sum until the seed is complete
        if (m_count == m_period)
            m_average /= m_period;
    }

    [[nodiscard]] std::optional<double> value() const
    {
        return m_period >= 1 && m_count >= m_period ? std::optional(m_average) : std::nullopt;
    }

private:
    int m_period;
    Step m_step;
    qint64 m_count = 0;
    double m_average = 0;
};

// Both steps take the period as double, so that no period overflows.

class ExponentialStep
{
public:
    explicit ExponentialStep(int period) : m_fresh(2 / (static_cast<double>(period) + 1)), m_kept(1 - m_fresh)
    {}
    double operator()(double average, double value) const { return m_kept * average + m_fresh * value; }

private:
    double m_fresh;
    double m_kept;
};

class WilderStep
{
public:
    explicit WilderStep(double period) : m_period(period) {}
    double operator()(double average, double value) const
    {
        return (average * (m_period - 1) + value) / m_period;
    }

private:
    double m_period;
};

using Ema = SeededAverage<ExponentialStep>;

class Atr
{
public:
    explicit Atr(int period) : m_mean(period) {}

    void push(const Candle &candle)
    {
        if (m_begun)
            m_mean.push(trueRange(candle, m_previousClose));
        m_begun = true;
        m_previousClose = candle.c;
    }

    [[nodiscard]] std::optional<double> value() const { return m_mean.value(); }

private:
    static double trueRange(const Candle &candle, double previousClose)
    {
        return std::max(
            {candle.h - candle.l, std::abs(candle.h - previousClose), std::abs(candle.l - previousClose)});
    }

    bool m_begun = false; // the first candle has no true range
    double m_previousClose = 0;
    Sma m_mean;
};

class Rsi
{
public:
    explicit Rsi(int period) : m_gain(period), m_loss(period) {}

    void push(double value)
    {
        if (m_begun) {
            const double change = value - m_previous;
            m_gain.push(change > 0 ? change : 0);
            m_loss.push(change < 0 ? -change : 0);
        }
        m_begun = true;
        m_previous = value;
    }

    [[nodiscard]] std::optional<double> value() const
    {
        const auto gain = m_gain.value();
        const auto loss = m_loss.value();
        if (!gain || !loss)
            return std::nullopt;
        if (!(*loss > 0))
            return 100; // deliberate: a flat series reads 100 too, not 50
        return 100 - 100 / (1 + *gain / *loss);
    }

private:
    bool m_begun = false; // the first value has no change
    double m_previous = 0;
    SeededAverage<WilderStep> m_gain;
    SeededAverage<WilderStep> m_loss;
};

class Macd
{
public:
    Macd(int fast, int slow, int signalP) : m_fast(fast), m_slow(slow), m_signal(signalP) {}

    void push(double value)
    {
        m_fast.push(value);
        m_slow.push(value);
        const auto fast = m_fast.value();
        const auto slow = m_slow.value();
        if (!fast || !slow)
            return;
        m_line = *fast - *slow;
        m_signal.push(m_line);
    }

    [[nodiscard]] std::optional<MacdResult> value() const
    {
        const auto signal = m_signal.value();
        if (!signal)
            return std::nullopt;
        return MacdResult{m_line, *signal, m_line - *signal};
    }

private:
    Ema m_fast;
    Ema m_slow;
    double m_line = 0;
    Ema m_signal;
};

class Vwap
{
public:
    void push(const Candle &candle)
    {
        const double typicalPrice = (candle.h + candle.l + candle.c) / 3;
        m_weighted += candle.v * typicalPrice;
        m_volume += candle.v;
    }

    [[nodiscard]] std::optional<double> value() const
    {
        return m_volume > 0 ? std::optional(m_weighted / m_volume) : std::nullopt;
    }

private:
    double m_weighted = 0;
    double m_volume = 0;
};

template <typename Reading, typename Inputs>
auto valueAfter(Reading reading, const Inputs &inputs)
{
    for (const auto &input : inputs)
        reading.push(input);
    return reading.value();
}

template <typename Reading, typename Inputs>
std::optional<std::vector<double>> valuesAlong(Reading reading, const Inputs &inputs)
{
    std::vector<double> series;
    for (const auto &input : inputs) {
        reading.push(input);
        if (const auto current = reading.value())
            series.push_back(*current);
    }
    return series.empty() ? std::nullopt : std::optional(std::move(series));
}

} // namespace

std::optional<double> sma(std::span<const double> values, int period)
{
    return valueAfter(Sma(period), values);
}

std::optional<std::vector<double>> emaSeries(std::span<const double> values, int period)
{
    return valuesAlong(Ema(period), values);
}

std::optional<double> ema(std::span<const double> values, int period)
{
    return valueAfter(Ema(period), values);
}

std::optional<double> atr(std::span<const Candle> candles, int period)
{
    return valueAfter(Atr(period), candles);
}

std::optional<double> rsi(std::span<const double> values, int period)
{
    if (std::ssize(values) <= period)
        return std::nullopt;
    if (period < 1)
        qFatal("rsi: the period %d is below 1", period);
    return valueAfter(Rsi(period), values);
}

std::optional<MacdResult> macd(std::span<const double> values, int fast, int slow, int signalP)
{
    return valueAfter(Macd(fast, slow, signalP), values);
}

std::optional<double> vwap(std::span<const Candle> candles)
{
    return valueAfter(Vwap(), candles);
}

std::optional<std::vector<double>> vwapSeries(std::span<const Candle> candles)
{
    return valuesAlong(Vwap(), candles);
}

IndicatorReadings readIndicators(std::span<const Candle> candles)
{
    Ema ema50(50);
    Ema ema144(144);
    Ema ema169(169);
    Ema ema200(200);
    Rsi rsi14(14);
    Macd macdUsual(12, 26, 9);
    Atr atr14(14);
    Vwap weighted;
    for (const Candle &candle : candles) {
        ema50.push(candle.c);
        ema144.push(candle.c);
        ema169.push(candle.c);
        ema200.push(candle.c);
        rsi14.push(candle.c);
        macdUsual.push(candle.c);
        atr14.push(candle);
        weighted.push(candle);
    }
    return {ema50.value(), ema144.value(),    ema169.value(), ema200.value(),
            rsi14.value(), macdUsual.value(), atr14.value(),  weighted.value()};
}

} // namespace kestrune
