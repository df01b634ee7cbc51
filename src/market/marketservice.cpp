// SPDX-License-Identifier: MIT
#include "market/marketservice.h"

#include "market/candleparsers.h"

#include <memory>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

// The coroutines below take all they need by value and never touch the service, which may be gone by the
// time an answer arrives.

namespace {

struct KlineUrls
{
    std::optional<QUrl> gate, binance, okx;
};

struct PriceUrls
{
    std::optional<QUrl> gate, binance;
};

KlineUrls klineUrls(const Endpoints &endpoints, const QString &symbol, const QString &interval, int limit)
{
    const QString base = symbol.toUpper();
    const QString count = QString::number(limit);
    return {.gate = requestUrl(endpoints.gate + "/api/v4/spot/candlesticks?currency_pair="_L1 + base +
                               "_USDT&interval="_L1 + interval + "&limit="_L1 + count),
            .binance = requestUrl(endpoints.binanceSpot + "/api/v3/klines?symbol="_L1 + base +
                                  "USDT&interval="_L1 + interval + "&limit="_L1 + count),
            // deliberate: upper-casing turns "1m" into "1M", which OKX reads as one month
            .okx = requestUrl(endpoints.okx + "/api/v5/market/candles?instId="_L1 + base +
                              "-USDT-SWAP&bar="_L1 + interval.toUpper() + "&limit="_L1 + count)};
}

PriceUrls priceUrls(const Endpoints &endpoints, const QString &symbol)
{
    const QString base = symbol.toUpper();
    return {.gate =
                requestUrl(endpoints.gate + "/api/v4/futures/usdt/tickers?contract="_L1 + base + "_USDT"_L1),
            .binance =
                requestUrl(endpoints.binanceFutures + "/fapi/v1/ticker/24hr?symbol="_L1 + base + "USDT"_L1)};
}

/// What `parse` makes of the answer; nothing when the address is invalid or the transfer failed. A refusal
/// goes to `refusal`, which belongs to the coroutine that awaits this one.
template <typename T>
QCoro::Task<std::optional<T>> fetchFrom(HttpClient *http, std::optional<QUrl> url,
                                        std::optional<T> (*parse)(const QByteArray &),
                                        std::optional<Refusal> *refusal)
{
    if (!url)
        co_return std::nullopt;
    std::vector<HttpHeader> noHeaders;
    const auto answer = co_await http->get(*url, std::move(noHeaders));
    if (!answer)
        co_return std::nullopt;
    if (const auto refused = refusalIn(*answer))
        *refusal = refused;
    co_return parse(answer->body);
}

QCoro::Task<Result<CandleList>> klinesFrom(HttpClient *http, KlineUrls urls)
{
    std::optional<Refusal> refusal;
    auto gate = co_await fetchFrom(http, urls.gate, parseGateCandles, &refusal);
    // Asked even after Gate.io's success: the longer history wins, a tie goes to Gate.io.
    auto binance = co_await fetchFrom(http, urls.binance, parseBinanceCandles, &refusal);
    if (binance && (!gate || gate->size() < binance->size()))
        co_return std::move(*binance);
    if (gate)
        co_return std::move(*gate);
    if (auto okx = co_await fetchFrom(http, urls.okx, parseOkxCandles, &refusal))
        co_return std::move(*okx);
    co_return tl::unexpected(ServiceError{2, u"所有 K 线源暂不可用"_s, refusal});
}

QCoro::Task<Result<PriceResult>> priceFrom(HttpClient *http, PriceUrls urls)
{
    std::optional<Refusal> refusal;
    if (const auto gate = co_await fetchFrom(http, urls.gate, parseGateTicker, &refusal))
        co_return *gate;
    if (const auto binance = co_await fetchFrom(http, urls.binance, parseBinanceTicker, &refusal))
        co_return *binance;
    co_return tl::unexpected(ServiceError{1, u"所有永续合约价格源暂不可用"_s, refusal});
}

using SharedPrices = std::shared_ptr<std::vector<SymbolPrice>>;

QCoro::Task<> appendPrice(HttpClient *http, PriceUrls urls, QString symbol, SharedPrices prices)
{
    const auto result = co_await priceFrom(http, std::move(urls));
    prices->push_back(result ? SymbolPrice{symbol, result->price, result->change}
                             : SymbolPrice{symbol, std::nullopt, std::nullopt, result.error().refusal});
}

QCoro::Task<std::vector<SymbolPrice>> pricesFrom(HttpClient *http, Endpoints endpoints, QStringList symbols)
{
    const auto prices = std::make_shared<std::vector<SymbolPrice>>();
    std::vector<QCoro::Task<>> children;
    for (const QString &symbol : std::as_const(symbols))
        children.push_back(appendPrice(http, priceUrls(endpoints, symbol), symbol.toUpper(), prices));
    for (auto &child : children)
        co_await child;
    co_return std::move(*prices);
}

} // namespace

MarketService::MarketService(HttpClient &http, Endpoints endpoints)
    : m_http(&http), m_endpoints(std::move(endpoints))
{}

QCoro::Task<Result<CandleList>> MarketService::fetchKlines(const QString &symbol, const QString &interval,
                                                           int limit) const
{
    return klinesFrom(m_http, klineUrls(m_endpoints, symbol, interval, limit));
}

QCoro::Task<Result<PriceResult>> MarketService::fetchPrice(const QString &symbol) const
{
    return priceFrom(m_http, priceUrls(m_endpoints, symbol));
}

QCoro::Task<std::vector<SymbolPrice>> MarketService::fetchPricesConcurrently(QStringList symbols) const
{
    return pricesFrom(m_http, m_endpoints, std::move(symbols));
}

} // namespace kestrune
