// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "market/endpoints.h"
#include "market/priceresult.h"
#include "market/searchparsers.h"
#include "market/serviceerror.h"
#include "market/sourcehealth.h"
#include "platform/httpclient.h"

#include <QCoroTask>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace kestrune {

/// Crypto market data with silent fallback between exchanges. A source that failed a moment ago is asked only
/// when no other answers, one that refuses not at all. Calls may overlap freely, and the object may go away
/// while they run (the HTTP client may not).
class MarketService
{
public:
    MarketService(HttpClient &http, Endpoints endpoints, SharedSourceHealth health);

    /// Candles oldest first, never empty; error 2 when all three sources failed.
    [[nodiscard]] QCoro::Task<Result<CandleList>>
    fetchKlines(const QString &symbol, const QString &interval = QStringLiteral("1d"), int limit = 200) const;
    /// Perpetual contract price; error 1 when both sources failed.
    [[nodiscard]] QCoro::Task<Result<PriceResult>> fetchPrice(const QString &symbol) const;
    /// Every perpetual contract against USDT; error 6 when both sources failed.
    [[nodiscard]] QCoro::Task<Result<FoundList>> fetchContracts() const;
    /// All at once; entries in order of completion, without a price where it could not be had.
    [[nodiscard]] QCoro::Task<std::vector<SymbolPrice>> fetchPricesConcurrently(QStringList symbols) const;

private:
    HttpClient *m_http;
    Endpoints m_endpoints;
    SharedSourceHealth m_health;
};

} // namespace kestrune
