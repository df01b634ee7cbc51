// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <array>
#include <optional>

namespace kestrune::replay {

enum class Endpoint {
    gateCandles,
    gateList,
    gateTicker,
    binanceCandles,
    binanceList,
    binanceTicker,
    okxCandles,
    tencentQuotes,
    tencentCandles,
    tencentSearch
};
inline constexpr std::size_t endpointCount = 10;

/// By the name on the command line, for example "gate.candles".
[[nodiscard]] std::optional<Endpoint> endpointFromName(QByteArrayView name);

/// What a request asks for.
struct Target
{
    Endpoint endpoint;
    QByteArray argument; ///< the query, or for quotes the codes in the path
};

/// Finds the endpoint that a path ends with, so that any prefix may stand before it.
[[nodiscard]] std::optional<Target> findTarget(const QByteArray &path, const QByteArray &query);

} // namespace kestrune::replay
