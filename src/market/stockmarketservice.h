// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "market/endpoints.h"
#include "market/searchparsers.h"
#include "market/serviceerror.h"
#include "market/sourcehealth.h"
#include "market/stockquote.h"
#include "platform/clock.h"
#include "platform/httpclient.h"

#include <QCoroTask>
#include <QString>
#include <QStringList>

namespace kestrune {

/// A-share and Hong Kong market data. Nothing is asked of a source that refuses. Calls may overlap freely,
/// and the object may go away while they run (the HTTP client and the clock may not).
class StockMarketService
{
public:
    StockMarketService(HttpClient &http, const Clock &clock, Endpoints endpoints, SharedSourceHealth health);

    /// Quotes by lower-case code; codes without an answer are missing. Error 0 when the transfer failed or
    /// the source refused; of one code also when its quote is missing.
    [[nodiscard]] QCoro::Task<Result<StockQuotes>> fetchQuotes(const QStringList &codes) const;
    [[nodiscard]] QCoro::Task<Result<StockQuote>> fetchQuote(const QString &code) const;
    /// Forward-adjusted candles oldest first, never empty; errors 2 to 5, or 0 for a transfer error
    /// and while the source refuses.
    [[nodiscard]] QCoro::Task<Result<CandleList>>
    fetchKlines(const QString &code, const QString &period = QStringLiteral("day"), int count = 320) const;
    /// A segment's instruments by code, name or pinyin; none for an empty text. Error 6.
    [[nodiscard]] QCoro::Task<Result<FoundList>> search(MarketSegment segment, const QString &text) const;

private:
    HttpClient *m_http;
    const Clock *m_clock;
    Endpoints m_endpoints;
    SharedSourceHealth m_health;
};

} // namespace kestrune
