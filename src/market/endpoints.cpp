// SPDX-License-Identifier: MIT
#include "market/endpoints.h"

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

Endpoints Endpoints::live()
{
    return {.gate = u"https://api.gateio.ws"_s,
            .binanceSpot = u"https://data-api.binance.vision"_s,
            .binanceFutures = u"https://fapi.binance.com"_s,
            .okx = u"https://www.okx.com"_s,
            .tencentQuotes = u"https://qt.gtimg.cn"_s,
            .tencentCandles = u"https://web.ifzq.gtimg.cn"_s,
            .tencentSearch = u"https://smartbox.gtimg.cn"_s};
}

Endpoints Endpoints::via(const QString &base)
{
    QString address = base;
    while (address.endsWith(u'/'))
        address.chop(1);
    return {.gate = address,
            .binanceSpot = address,
            .binanceFutures = address,
            .okx = address,
            .tencentQuotes = address,
            .tencentCandles = address,
            .tencentSearch = address};
}

std::optional<QUrl> requestUrl(const QString &text)
{
    const bool plain = std::ranges::all_of(text, [](QChar c) { return c > u' ' && c < u'\x7f'; });
    if (!plain)
        return std::nullopt;
    // Strict parsing refuses what the tolerant mode would quietly encode, for example "^" or a lone "%".
    const QUrl url{text, QUrl::StrictMode};
    if (!url.isValid() || url.host().isEmpty() || (url.scheme() != "http"_L1 && url.scheme() != "https"_L1))
        return std::nullopt;
    return url;
}

} // namespace kestrune
