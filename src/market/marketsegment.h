// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <span>

namespace kestrune {

enum class MarketSegment { crypto, cn, hk };
inline constexpr std::array allMarketSegments{MarketSegment::crypto, MarketSegment::cn, MarketSegment::hk};

/// Display text and stored form: "加密", "A股", "港股".
[[nodiscard]] QString rawValue(MarketSegment segment);
[[nodiscard]] std::optional<MarketSegment> marketSegmentFromRawValue(QStringView text);
/// Timeframe labels in menu order.
[[nodiscard]] const QStringList &timeframes(MarketSegment segment);

enum class StockMarket { sh, sz, hk };
inline constexpr std::array allStockMarkets{StockMarket::sh, StockMarket::sz, StockMarket::hk};

[[nodiscard]] QString rawValue(StockMarket market);    ///< "sh", "sz", "hk"
[[nodiscard]] QString displayName(StockMarket market); ///< "沪市", "深市", "港股"
/// The exchange of a stock code by its prefix in any case; absent for other codes.
[[nodiscard]] std::optional<StockMarket> stockMarketOf(QStringView code);

/// Minutes after midnight on the Asia/Shanghai clock, both ends inclusive.
struct TradingSession
{
    int start;
    int end;
};
[[nodiscard]] std::span<const TradingSession> sessions(StockMarket market);
/// Inside a session on a weekday; public holidays are deliberately not known.
[[nodiscard]] bool isTrading(StockMarket market, Instant instant);

/// The code without an "sh", "sz" or "hk" prefix of any case; other codes unchanged.
[[nodiscard]] QString bareCode(const QString &code);

/// Gate.io and Binance interval of a crypto timeframe label: "1h", "4h", else "1d".
[[nodiscard]] QString cryptoInterval(QStringView timeframe);
/// Candle period of a stock timeframe label: "week", "month", else "day".
[[nodiscard]] QString stockPeriod(QStringView timeframe);

} // namespace kestrune
