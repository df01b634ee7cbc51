// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace kestrune::test {

/// Smooth waves that begin at `base`, one candle per day up to the first of FakeClock, rows that every source
/// accepts.
[[nodiscard]] CandleList waveCandles(std::size_t count, double base);

// Answer bodies in the sources' own layouts; numbers round-trip exactly.
[[nodiscard]] QByteArray gateCandles(const CandleList &candles);
[[nodiscard]] QByteArray binanceCandles(const CandleList &candles);
[[nodiscard]] QByteArray okxCandles(CandleList candles); ///< newest first, as it sends them
[[nodiscard]] QByteArray gateTicker(double price, std::optional<double> change = {});
[[nodiscard]] QByteArray binanceTicker(double price, std::optional<double> change = {});
/// `period` is "day", "week" or "month"; the rows are the adjusted ones unless `adjusted` is empty.
[[nodiscard]] QByteArray stockCandles(const QString &code, const QString &period, const CandleList &candles,
                                      const QByteArray &adjusted = "qfq");

struct QuoteLine
{
    QByteArray code; ///< with prefix, for example "sh600519"
    QByteArray name; ///< GB 18030 bytes
    double price = 0;
    double changePct = 0;
    QByteArray time = "0"; ///< the quote's own, in Shanghai
    bool suspended = false;
};
[[nodiscard]] QByteArray stockQuotes(const std::vector<QuoteLine> &quotes);

} // namespace kestrune::test
