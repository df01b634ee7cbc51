// SPDX-License-Identifier: MIT
#include "replay/endpoints.h"

namespace kestrune::replay {

namespace {

struct Description
{
    const char *name;
    const char *path;
    const char *without = nullptr; ///< not a query with this key
};

// In the order of the enumeration.
constexpr std::array<Description, endpointCount> descriptions = {{
    {"gate.candles", "/api/v4/spot/candlesticks"},
    {"gate.list", "/api/v4/futures/usdt/tickers", "contract="},
    {"gate.ticker", "/api/v4/futures/usdt/tickers"},
    {"binance.candles", "/api/v3/klines"},
    {"binance.list", "/fapi/v1/ticker/24hr", "symbol="},
    {"binance.ticker", "/fapi/v1/ticker/24hr"},
    {"okx.candles", "/api/v5/market/candles"},
    {"tencent.quotes", "/q="},
    {"tencent.candles", "/appstock/app/fqkline/get"},
    {"tencent.search", "/s3/"},
}};

} // namespace

std::optional<Endpoint> endpointFromName(QByteArrayView name)
{
    for (std::size_t i = 0; i < descriptions.size(); ++i) {
        if (name == QByteArrayView(descriptions[i].name))
            return static_cast<Endpoint>(i);
    }
    return std::nullopt;
}

std::optional<Target> findTarget(const QByteArray &path, const QByteArray &query)
{
    for (std::size_t i = 0; i < descriptions.size(); ++i) {
        const auto endpoint = static_cast<Endpoint>(i);
        const bool other = descriptions[i].without && query.contains(descriptions[i].without);
        if (endpoint != Endpoint::tencentQuotes && !other && path.endsWith(descriptions[i].path))
            return Target{endpoint, query};
    }
    const qsizetype segment = path.lastIndexOf('/');
    if (segment >= 0 && path.sliced(segment).startsWith("/q="))
        return Target{Endpoint::tencentQuotes, path.sliced(segment + 3)};
    return std::nullopt;
}

} // namespace kestrune::replay
