// SPDX-License-Identifier: MIT
#include "market/marketservice.h"

#include "market/candleparsers.h"

#include <memory>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

// The coroutines below take all they need by value and never touch the service, which may be gone by the
// time an answer arrives.

// Not unnamed: of these g++ warns where a coroutine that is a template keeps them.
struct SourceRequest
{
    SourceTopic topic;
    std::optional<QUrl> url; // of an invalid address nothing can be asked
};

struct TickerRequests
{
    SourceRequest gate, binance;
};

namespace {

struct KlineRequests
{
    SourceRequest gate, binance, okx;
};

KlineRequests klineRequests(const Endpoints &endpoints, const QString &symbol, const QString &interval,
                            int limit)
{
    const QString base = symbol.toUpper();
    const QString count = QString::number(limit);
    const auto topic = [subject = "candles "_L1 + base, interval](Source source) {
        return SourceTopic{source, subject, subject + u' ' + interval};
    };
    return {.gate = {topic(Source::gate),
                     requestUrl(endpoints.gate + "/api/v4/spot/candlesticks?currency_pair="_L1 + base +
                                "_USDT&interval="_L1 + interval + "&limit="_L1 + count)},
            .binance = {topic(Source::binanceSpot),
                        requestUrl(endpoints.binanceSpot + "/api/v3/klines?symbol="_L1 + base +
                                   "USDT&interval="_L1 + interval + "&limit="_L1 + count)},
            // deliberate: upper-casing turns "1m" into "1M", which OKX reads as one month
            .okx = {topic(Source::okx),
                    requestUrl(endpoints.okx + "/api/v5/market/candles?instId="_L1 + base +
                               "-USDT-SWAP&bar="_L1 + interval.toUpper() + "&limit="_L1 + count)}};
}

TickerRequests priceRequests(const Endpoints &endpoints, const QString &symbol)
{
    const QString base = symbol.toUpper();
    const QString subject = "price "_L1 + base;
    return {.gate = {{Source::gate, subject, subject},
                     requestUrl(endpoints.gate + "/api/v4/futures/usdt/tickers?contract="_L1 + base +
                                "_USDT"_L1)},
            .binance = {
                {Source::binanceFutures, subject, subject},
                requestUrl(endpoints.binanceFutures + "/fapi/v1/ticker/24hr?symbol="_L1 + base + "USDT"_L1)}};
}

TickerRequests contractRequests(const Endpoints &endpoints)
{
    const QString subject = u"contracts"_s;
    return {.gate = {{Source::gate, subject, subject},
                     requestUrl(endpoints.gate + "/api/v4/futures/usdt/tickers"_L1)},
            .binance = {{Source::binanceFutures, subject, subject},
                        requestUrl(endpoints.binanceFutures + "/fapi/v1/ticker/24hr"_L1)}};
}

/// What `parse` makes of the answer; nothing when the address is invalid, the source refuses or the transfer
/// failed. A refusal goes to `refusal`, which belongs to the coroutine that awaits this one.
template <typename T>
QCoro::Task<std::optional<T>>
fetchFrom(HttpClient *http, SharedSourceHealth health, SourceTopic topic, std::optional<QUrl> url,
          std::optional<T> (*parse)(const QByteArray &), std::optional<Refusal> *refusal)
{
    if (!url)
        co_return std::nullopt;
    if (const auto held = health->refusal(topic.source)) {
        *refusal = held;
        co_return std::nullopt;
    }
    std::vector<HttpHeader> noHeaders;
    const auto answer = co_await http->get(*url, std::move(noHeaders));
    if (!answer) {
        health->noteSilence(topic);
        co_return std::nullopt;
    }
    if (const auto refused = health->noteRefusal(topic.source, *answer))
        *refusal = refused;
    auto parsed = parse(answer->body);
    if (parsed)
        health->noteSuccess(topic);
    else
        health->noteUnusable(topic);
    co_return parsed;
}

// Both walks go twice: over the sources that do not rest and, when none of these answers, over the others.

QCoro::Task<Result<CandleList>> klinesFrom(HttpClient *http, SharedSourceHealth health,
                                           KlineRequests requests)
{
    std::optional<Refusal> refusal;
    const bool gateRests = health->rests(requests.gate.topic);
    const bool binanceRests = health->rests(requests.binance.topic);
    const bool okxRests = health->rests(requests.okx.topic);
    for (int walk = 0; walk < 2; ++walk) {
        const bool resting = walk == 1;
        std::optional<CandleList> gate;
        std::optional<CandleList> binance;
        if (gateRests == resting)
            gate = co_await fetchFrom(http, health, requests.gate.topic, requests.gate.url, parseGateCandles,
                                      &refusal);
        // Asked even after Gate.io's success: the longer history wins, a tie goes to Gate.io.
        if (binanceRests == resting)
            binance = co_await fetchFrom(http, health, requests.binance.topic, requests.binance.url,
                                         parseBinanceCandles, &refusal);
        if (binance && (!gate || gate->size() < binance->size()))
            co_return std::move(*binance);
        if (gate)
            co_return std::move(*gate);
        if (okxRests != resting)
            continue;
        if (auto okx = co_await fetchFrom(http, health, requests.okx.topic, requests.okx.url, parseOkxCandles,
                                          &refusal))
            co_return std::move(*okx);
    }
    co_return tl::unexpected(ServiceError{2, u"所有 K 线源暂不可用"_s, refusal});
}

template <typename T>
QCoro::Task<Result<T>> tickersFrom(HttpClient *http, SharedSourceHealth health, TickerRequests requests,
                                   std::optional<T> (*parseGate)(const QByteArray &),
                                   std::optional<T> (*parseBinance)(const QByteArray &), ServiceError failure)
{
    const bool gateRests = health->rests(requests.gate.topic);
    const bool binanceRests = health->rests(requests.binance.topic);
    for (int walk = 0; walk < 2; ++walk) {
        const bool resting = walk == 1;
        std::optional<T> answer;
        if (gateRests == resting)
            answer = co_await fetchFrom(http, health, requests.gate.topic, requests.gate.url, parseGate,
                                        &failure.refusal);
        if (!answer && binanceRests == resting)
            answer = co_await fetchFrom(http, health, requests.binance.topic, requests.binance.url,
                                        parseBinance, &failure.refusal);
        if (answer)
            co_return std::move(*answer);
    }
    co_return tl::unexpected(failure);
}

QCoro::Task<Result<PriceResult>> priceFrom(HttpClient *http, SharedSourceHealth health,
                                           TickerRequests requests)
{
    return tickersFrom(http, std::move(health), std::move(requests), parseGateTicker, parseBinanceTicker,
                       {1, u"所有永续合约价格源暂不可用"_s});
}

using SharedPrices = std::shared_ptr<std::vector<SymbolPrice>>;

QCoro::Task<> appendPrice(HttpClient *http, SharedSourceHealth health, TickerRequests requests,
                          QString symbol, SharedPrices prices)
{
    const auto result = co_await priceFrom(http, std::move(health), std::move(requests));
    prices->push_back(result ? SymbolPrice{symbol, result->price, result->change}
                             : SymbolPrice{symbol, std::nullopt, std::nullopt, result.error().refusal});
}

QCoro::Task<std::vector<SymbolPrice>> pricesFrom(HttpClient *http, SharedSourceHealth health,
                                                 Endpoints endpoints, QStringList symbols)
{
    const auto prices = std::make_shared<std::vector<SymbolPrice>>();
    std::vector<QCoro::Task<>> children;
    for (const QString &symbol : std::as_const(symbols))
        children.push_back(
            appendPrice(http, health, priceRequests(endpoints, symbol), symbol.toUpper(), prices));
    for (auto &child : children)
        co_await child;
    co_return std::move(*prices);
}

} // namespace

MarketService::MarketService(HttpClient &http, Endpoints endpoints, SharedSourceHealth health)
    : m_http(&http), m_endpoints(std::move(endpoints)), m_health(std::move(health))
{}

QCoro::Task<Result<CandleList>> MarketService::fetchKlines(const QString &symbol, const QString &interval,
                                                           int limit) const
{
    return klinesFrom(m_http, m_health, klineRequests(m_endpoints, symbol, interval, limit));
}

QCoro::Task<Result<PriceResult>> MarketService::fetchPrice(const QString &symbol) const
{
    return priceFrom(m_http, m_health, priceRequests(m_endpoints, symbol));
}

QCoro::Task<Result<FoundList>> MarketService::fetchContracts() const
{
    return tickersFrom(m_http, m_health, contractRequests(m_endpoints), parseGateContracts,
                       parseBinanceContracts, searchFailure());
}

QCoro::Task<std::vector<SymbolPrice>> MarketService::fetchPricesConcurrently(QStringList symbols) const
{
    return pricesFrom(m_http, m_health, m_endpoints, std::move(symbols));
}

} // namespace kestrune
