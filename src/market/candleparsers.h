// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "market/priceresult.h"
#include "market/serviceerror.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace kestrune {

/// Candles oldest first, at least 25. None when the body has another layout or fewer usable rows: then
/// this source has failed, for whatever reason.
[[nodiscard]] std::optional<CandleList> parseGateCandles(const QByteArray &body);
[[nodiscard]] std::optional<CandleList> parseBinanceCandles(const QByteArray &body);
/// The rows come newest first and are turned round.
[[nodiscard]] std::optional<CandleList> parseOkxCandles(const QByteArray &body);

/// The same of the answer for a lower-case stock code and a period ("day", "week", "month"): adjusted candles
/// where there are any, else the plain ones. Errors 3 to 5.
[[nodiscard]] Result<CandleList> parseStockCandles(const QByteArray &body, const QString &code,
                                                   const QString &period);

/// The contract ticker; none when the layout differs or the price is missing.
[[nodiscard]] std::optional<PriceResult> parseGateTicker(const QByteArray &body);
[[nodiscard]] std::optional<PriceResult> parseBinanceTicker(const QByteArray &body);

} // namespace kestrune
