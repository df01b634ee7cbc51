// SPDX-License-Identifier: MIT
#include "market/stockmarketservice.h"

#include "market/candleparsers.h"
#include "market/quoteparser.h"
#include "platform/textdecoding.h"

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

// As in the crypto service, the coroutines never touch the service, which may be gone before its answer.

namespace {

std::vector<HttpHeader> requestHeaders()
{
    return {{"Referer", "https://gu.qq.com/"}};
}

QCoro::Task<StockQuotes> quotesFrom(HttpClient *http, const Clock *clock, std::optional<QUrl> url)
{
    StockQuotes quotes;
    if (url) {
        if (const auto body = co_await http->get(*url, requestHeaders()))
            quotes = parseQuotes(decodeGb18030(*body), clock->now());
    }
    co_return quotes;
}

QCoro::Task<std::optional<StockQuote>> quoteFrom(QCoro::Task<StockQuotes> request, QString code)
{
    const StockQuotes quotes = co_await request;
    const auto found = quotes.constFind(code);
    co_return found == quotes.cend() ? std::nullopt : std::optional(*found);
}

QCoro::Task<Result<CandleList>> stockKlinesFrom(HttpClient *http, std::optional<QUrl> url, QString code,
                                                QString period)
{
    if (!url)
        co_return tl::unexpected(ServiceError{2, u"K线地址无效"_s});
    const auto body = co_await http->get(*url, requestHeaders());
    if (!body)
        co_return tl::unexpected(ServiceError{});
    co_return parseStockCandles(*body, code, period);
}

} // namespace

StockMarketService::StockMarketService(HttpClient &http, const Clock &clock, Endpoints endpoints)
    : m_http(&http), m_clock(&clock), m_endpoints(std::move(endpoints))
{}

QCoro::Task<StockQuotes> StockMarketService::fetchQuotes(const QStringList &codes) const
{
    // Without codes there is nothing to ask; an absent address sends no request.
    std::optional<QUrl> url;
    if (!codes.isEmpty())
        url = requestUrl(m_endpoints.tencentQuotes + "/q="_L1 + codes.join(u',').toLower());
    return quotesFrom(m_http, m_clock, std::move(url));
}

QCoro::Task<std::optional<StockQuote>> StockMarketService::fetchQuote(const QString &code) const
{
    return quoteFrom(fetchQuotes({code}), code.toLower());
}

QCoro::Task<Result<CandleList>> StockMarketService::fetchKlines(const QString &code, const QString &period,
                                                                int count) const
{
    const QString lower = code.toLower();
    auto url = requestUrl(m_endpoints.tencentCandles + "/appstock/app/fqkline/get?param="_L1 + lower + u',' +
                          period + ",,,"_L1 + QString::number(count) + ",qfq"_L1);
    return stockKlinesFrom(m_http, std::move(url), lower, period);
}

} // namespace kestrune
