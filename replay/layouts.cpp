// SPDX-License-Identifier: MIT
#include "replay/layouts.h"

#include <QByteArrayList>

namespace kestrune::replay {

Query::Query(QByteArrayView text)
{
    for (const QByteArray &pair : text.toByteArray().split('&')) {
        const qsizetype equals = pair.indexOf('=');
        const QByteArray key = QByteArray::fromPercentEncoding(equals < 0 ? pair : pair.left(equals));
        if (!key.isEmpty())
            m_values.emplace(key, equals < 0 ? QByteArray()
                                             : QByteArray::fromPercentEncoding(pair.sliced(equals + 1)));
    }
}

QByteArray Query::value(QByteArrayView key) const
{
    const auto found = m_values.find(key.toByteArray());
    return found == m_values.end() ? QByteArray() : found->second;
}

std::optional<int> Query::number(QByteArrayView key, int missing) const
{
    const QByteArray text = value(key);
    if (text.isEmpty())
        return missing;
    bool ok = false;
    const int number = text.toInt(&ok);
    return ok && number >= 1 ? std::optional(number) : std::nullopt;
}

Answer answerRequest(Market &market, const Target &target)
{
    switch (target.endpoint) {
    case Endpoint::gateCandles:
        return gateCandles(market, Query(target.argument));
    case Endpoint::gateList:
    case Endpoint::gateTicker:
        return gateTicker(market, Query(target.argument));
    case Endpoint::binanceCandles:
        return binanceCandles(market, Query(target.argument));
    case Endpoint::binanceList:
    case Endpoint::binanceTicker:
        return binanceTicker(market, Query(target.argument));
    case Endpoint::okxCandles:
        return okxCandles(market, Query(target.argument));
    case Endpoint::tencentQuotes:
        return tencentQuotes(market, QByteArray::fromPercentEncoding(target.argument));
    case Endpoint::tencentCandles:
        return tencentCandles(market, Query(target.argument));
    case Endpoint::tencentSearch:
        return tencentSearch(Query(target.argument));
    }
    return {{}, 404, "text/plain"};
}

} // namespace kestrune::replay
