// SPDX-License-Identifier: MIT
// The indicators by Tulip Indicators, built only where these are installed.

#include "indicatorcomparison.h"

extern "C" {
#include <indicators.h>
}

using namespace kestrune;
using namespace kestrune::bench;

namespace {

class Tulip
{
public:
    FiveReadings read(const Columns &data)
    {
        const int count = static_cast<int>(data.closes.size());
        const double *closes[]{data.closes.data()};
        const double *bars[]{data.highs.data(), data.lows.data(), data.closes.data()};
        FiveReadings readings;
        const double fifty[]{50};
        ti_ema(count, closes, fifty, m_outputs);
        readings.ema50 = m_first[last(count, ti_ema_start(fifty))];
        const double twoHundred[]{200};
        ti_ema(count, closes, twoHundred, m_outputs);
        readings.ema200 = m_first[last(count, ti_ema_start(twoHundred))];
        const double fourteen[]{14};
        ti_rsi(count, closes, fourteen, m_outputs);
        readings.rsi14 = m_first[last(count, ti_rsi_start(fourteen))];
        const double periods[]{12, 26, 9};
        ti_macd(count, closes, periods, m_outputs);
        readings.macdHist = m_third[last(count, ti_macd_start(periods))];
        // Its own average true range is Wilder's; ours is the plain mean.
        ti_tr(count, bars, nullptr, m_outputs);
        const double *ranges[]{m_first.data()};
        double *averages[]{m_second.data()};
        ti_sma(count, ranges, fourteen, averages);
        readings.atr14 = m_second[last(count, ti_sma_start(fourteen))];
        return readings;
    }

private:
    static std::size_t last(int count, int start) { return static_cast<std::size_t>(count - start - 1); }

    std::vector<double> m_first = std::vector<double>(candleCount);
    std::vector<double> m_second = m_first;
    std::vector<double> m_third = m_first;
    double *m_outputs[3]{m_first.data(), m_second.data(), m_third.data()};
};

void tulip(benchmark::State &state)
{
    Tulip library;
    // Its exponential averages begin with the first value instead of a mean, which 320 candles do not forget.
    compareReadings(
        state, [&](const Columns &data) { return library.read(data); }, Seed::other);
}
BENCHMARK(tulip)->Unit(benchmark::kMicrosecond);

} // namespace
