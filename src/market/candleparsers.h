// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "market/priceresult.h"

#include <QByteArray>

#include <optional>

namespace kestrune {

/// Candles oldest first, at least 25. None when the body has another layout or fewer usable rows: then
/// this source has failed, for whatever reason.
[[nodiscard]] std::optional<CandleList> parseGateCandles(const QByteArray &body);
[[nodiscard]] std::optional<CandleList> parseBinanceCandles(const QByteArray &body);
/// The rows come newest first and are turned round.
[[nodiscard]] std::optional<CandleList> parseOkxCandles(const QByteArray &body);

/// The contract ticker; none when the layout differs or the price is missing.
[[nodiscard]] std::optional<PriceResult> parseGateTicker(const QByteArray &body);
[[nodiscard]] std::optional<PriceResult> parseBinanceTicker(const QByteArray &body);

} // namespace kestrune
