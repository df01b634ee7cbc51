// SPDX-License-Identifier: MIT
#pragma once

#include "replay/endpoints.h"
#include "replay/market.h"

namespace kestrune::replay {

/// What a source answers, before anything is done to it on the wire.
struct Answer
{
    QByteArray body;
    int status = 200;
    QByteArray contentType = "application/json";
};

/// The decoded "key=value" pairs of a query; the first of several equal keys counts.
class Query
{
public:
    explicit Query(QByteArrayView text);
    /// The value of a key; empty when missing.
    [[nodiscard]] QByteArray value(QByteArrayView key) const;
    /// A whole number; `missing` when the key is missing, absent when it is not a number of at least 1.
    [[nodiscard]] std::optional<int> number(QByteArrayView key, int missing) const;

private:
    std::map<QByteArray, QByteArray> m_values;
};

[[nodiscard]] Answer gateCandles(Market &market, const Query &query);
[[nodiscard]] Answer gateTicker(Market &market, const Query &query);
[[nodiscard]] Answer binanceCandles(Market &market, const Query &query);
[[nodiscard]] Answer binanceTicker(Market &market, const Query &query);
[[nodiscard]] Answer okxCandles(Market &market, const Query &query);
/// `codes` is what follows "/q=" in the path.
[[nodiscard]] Answer tencentQuotes(Market &market, QByteArrayView codes);
[[nodiscard]] Answer tencentCandles(Market &market, const Query &query);
[[nodiscard]] Answer tencentSearch(const Query &query);

/// The right one of the above for a request.
[[nodiscard]] Answer answerRequest(Market &market, const Target &target);

} // namespace kestrune::replay
