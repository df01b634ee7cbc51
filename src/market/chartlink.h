// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace kestrune {

/// TradingView symbol of an instrument, for example "BINANCE:ETHUSDT.P", "SSE:600519", "HKEX:0700".
[[nodiscard]] QString tradingViewSymbol(const QString &coinSymbol, MarketSegment market);
/// Address of the instrument's chart page; absent when the text does not form a URL.
[[nodiscard]] std::optional<QUrl> tradingViewUrl(const QString &coinSymbol, MarketSegment market,
                                                 QStringView timeframe);

} // namespace kestrune
