// SPDX-License-Identifier: MIT
#include "candleinput.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace kestrune::fuzz {

std::uint8_t Input::byte()
{
    if (m_rest.isEmpty())
        return 0;
    const auto value = static_cast<std::uint8_t>(m_rest.front());
    m_rest = m_rest.sliced(1);
    return value;
}

double Input::number()
{
    std::array<std::uint8_t, sizeof(double)> bytes{};
    for (auto &value : bytes)
        value = byte();
    double number = 0;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

double Input::numberNear(double base)
{
    using Limits = std::numeric_limits<double>;
    constexpr std::array special{0.0,           -0.0,           Limits::infinity(), -Limits::infinity(),
                                 Limits::max(), -Limits::max(), Limits::min(),      Limits::denorm_min(),
                                 1e-300,        1e300,          Limits::quiet_NaN()};
    const std::uint8_t code = byte();
    constexpr std::uint8_t middle = 128;
    constexpr double step = 1.0 / 512;
    const auto fromTop = static_cast<std::size_t>(255 - code);
    if (fromTop < special.size())
        return special[fromTop];
    return base * (1 + (double(code) - middle) * step);
}

CandleList takeCandles(Input &input, double base, std::size_t mostCandles)
{
    const bool arbitrary = (input.byte() & 1) != 0;
    const std::size_t repeats = std::size_t{1} << (input.byte() % 16);
    CandleList once;
    while (!input.isEmpty() && once.size() < mostCandles) {
        const auto value = [&] { return arbitrary ? input.number() : input.numberNear(base); };
        Candle candle;
        candle.ts = static_cast<qint64>(once.size());
        candle.o = value();
        candle.h = value();
        candle.l = value();
        candle.c = value();
        candle.v = arbitrary ? input.number() : input.numberNear(100);
        once.push_back(candle);
    }
    CandleList candles;
    for (std::size_t i = 0; i < repeats && candles.size() + once.size() <= mostCandles; ++i)
        candles.insert(candles.end(), once.begin(), once.end());
    return candles;
}

} // namespace kestrune::fuzz
