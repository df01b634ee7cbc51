// SPDX-License-Identifier: MIT
// The indicators by TA-Lib, built only where that is installed.

#include "indicatorcomparison.h"

#include <ta-lib/ta_libc.h>

using namespace kestrune;
using namespace kestrune::bench;

namespace {

double last(const std::vector<double> &values, int count)
{
    return values[static_cast<std::size_t>(count - 1)];
}

class TaLib
{
public:
    TaLib() { TA_Initialize(); }
    ~TaLib() { TA_Shutdown(); }
    TaLib(const TaLib &) = delete;
    TaLib &operator=(const TaLib &) = delete;

    FiveReadings read(const Columns &data)
    {
        const int end = static_cast<int>(data.closes.size()) - 1;
        const double *c = data.closes.data();
        int begin = 0;
        int count = 0;
        FiveReadings readings;
        TA_EMA(0, end, c, 50, &begin, &count, m_first.data());
        readings.ema50 = last(m_first, count);
        TA_EMA(0, end, c, 200, &begin, &count, m_first.data());
        readings.ema200 = last(m_first, count);
        TA_RSI(0, end, c, 14, &begin, &count, m_first.data());
        readings.rsi14 = last(m_first, count);
        TA_MACD(0, end, c, 12, 26, 9, &begin, &count, m_first.data(), m_second.data(), m_third.data());
        readings.macdHist = last(m_third, count);
        // Its own average true range is Wilder's; ours is the plain mean.
        TA_TRANGE(0, end, data.highs.data(), data.lows.data(), c, &begin, &count, m_first.data());
        TA_SMA(0, count - 1, m_first.data(), 14, &begin, &count, m_second.data());
        readings.atr14 = last(m_second, count);
        return readings;
    }

private:
    std::vector<double> m_first = std::vector<double>(candleCount);
    std::vector<double> m_second = m_first;
    std::vector<double> m_third = m_first;
};

void taLib(benchmark::State &state)
{
    TaLib library;
    compareReadings(state, [&](const Columns &data) { return library.read(data); });
}
BENCHMARK(taLib)->Unit(benchmark::kMicrosecond);

} // namespace
