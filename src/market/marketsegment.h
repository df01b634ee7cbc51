// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"

#include <QString>
#include <QStringList>

#include <array>
#include <chrono>
#include <optional>

namespace kestrune {

enum class MarketSegment { crypto, cn, hk };
inline constexpr std::array allMarketSegments{MarketSegment::crypto, MarketSegment::cn, MarketSegment::hk};

/// Display text and stored form: "加密", "A股", "港股".
[[nodiscard]] QString rawValue(MarketSegment segment);
[[nodiscard]] std::optional<MarketSegment> marketSegmentFromRawValue(QStringView text);

/// Label of days, the one timeframe of every segment.
inline constexpr QStringView defaultTimeframe = u"日线";
/// Labels to choose from, in menu order.
[[nodiscard]] const QStringList &timeframes(MarketSegment segment);
/// Labels of the short, the middle and the long timeframe of the snapshot, whatever else there is to choose.
[[nodiscard]] const std::array<QString, 3> &snapshotTimeframes(MarketSegment segment);

// What a timeframe's label stands for; a label that is unknown, or not of the segment, stands for days.
[[nodiscard]] QString cryptoInterval(QStringView label);      ///< "1h", as Gate.io and Binance write it
[[nodiscard]] QString stockPeriod(QStringView label);         ///< "day", "week", "month"
[[nodiscard]] QString tradingViewInterval(QStringView label); ///< "60", "1D"

enum class StockMarket { sh, sz, hk };
inline constexpr std::array allStockMarkets{StockMarket::sh, StockMarket::sz, StockMarket::hk};

[[nodiscard]] QString rawValue(StockMarket market); ///< "sh", "sz", "hk"
/// The exchange of a stock code by its prefix in any case; absent for other codes.
[[nodiscard]] std::optional<StockMarket> stockMarketOf(QStringView code);

/// The segment of an instrument: a stock is its exchange's prefix and digits.
[[nodiscard]] MarketSegment segmentOf(QStringView symbol);

/// What an exchange does at an instant; public holidays are deliberately not known.
struct MarketSession
{
    bool open = false;
    bool noonBreak = false;             ///< closed between the two sessions of a day
    std::chrono::milliseconds since{0}; ///< how long it has been so
};
[[nodiscard]] MarketSession marketSession(StockMarket market, Instant instant);
/// Inside a session on a weekday.
[[nodiscard]] bool isTrading(StockMarket market, Instant instant);

/// Whether the last of some candles is older than twice their timeframe and five minutes; `lastTs` in
/// milliseconds since the epoch. Stocks count in weekdays up to `now`, or to the day of their quote, after
/// which there was no trade.
[[nodiscard]] bool candlesAreOld(MarketSegment segment, QStringView timeframe, qint64 lastTs, Instant now);

/// The instrument that a text names: six digits of the mainland or five of Hong Kong, with or without their
/// prefix, or a coin, with or without "USDT" behind it; in any case and width of letters. Lists spell codes
/// as the result does. None for other texts.
[[nodiscard]] std::optional<QString> codeFromTyped(MarketSegment segment, const QString &text);
/// Of a code as lists spell it; none for other texts.
[[nodiscard]] std::optional<MarketSegment> listedSegment(const QString &code);
/// What a segment's instrument is called by code: stocks without their prefix.
[[nodiscard]] QString shownCode(MarketSegment segment, const QString &code);

/// How finely a stock segment's prices are told.
struct PriceGrid
{
    double step;
    int decimals;
};
/// Cents, and tenths of them for the mainland's funds (sh5…, sz15…, sz16…).
[[nodiscard]] PriceGrid priceGrid(QStringView stockCode);

/// The code without an "sh", "sz" or "hk" prefix of any case; other codes unchanged.
[[nodiscard]] QString bareCode(const QString &code);

} // namespace kestrune
