// SPDX-License-Identifier: MIT
#include "market/stockmarketservice.h"

#include "market/candleparsers.h"
#include "market/quoteparser.h"
#include "platform/textdecoding.h"

#include <optional>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

// As in the crypto service, the coroutines never touch the service, which may be gone before its answer.

namespace {

constexpr qsizetype longestQuestion = 64;

std::vector<HttpHeader> requestHeaders()
{
    return {{"Referer", "https://gu.qq.com/"}};
}

QCoro::Task<Result<StockQuotes>> quotesFrom(HttpClient *http, SharedSourceHealth health, const Clock *clock,
                                            std::optional<QUrl> url)
{
    if (!url)
        co_return StockQuotes();
    if (const auto held = health->refusal(Source::tencentQuotes))
        co_return tl::unexpected(ServiceError{.refusal = held});
    const auto answer = co_await http->get(*url, requestHeaders());
    if (!answer)
        co_return tl::unexpected(ServiceError{});
    StockQuotes quotes = parseQuotes(decodeGb18030(answer->body), clock->now());
    const auto refusal = health->noteRefusal(Source::tencentQuotes, *answer);
    if (quotes.isEmpty() && refusal)
        co_return tl::unexpected(ServiceError{.refusal = refusal});
    co_return quotes;
}

QCoro::Task<Result<StockQuote>> quoteFrom(QCoro::Task<Result<StockQuotes>> request, QString code)
{
    const auto quotes = co_await request;
    if (!quotes)
        co_return tl::unexpected(quotes.error());
    const auto found = quotes->constFind(code);
    if (found == quotes->cend())
        co_return tl::unexpected(ServiceError{});
    co_return *found;
}

QCoro::Task<Result<CandleList>> stockKlinesFrom(HttpClient *http, SharedSourceHealth health,
                                                std::optional<QUrl> url, QString code, QString period)
{
    if (!url)
        co_return tl::unexpected(ServiceError{2, u"K线地址无效"_s});
    if (const auto held = health->refusal(Source::tencentCandles))
        co_return tl::unexpected(ServiceError{.refusal = held});
    const auto answer = co_await http->get(*url, requestHeaders());
    if (!answer)
        co_return tl::unexpected(ServiceError{});
    const auto refusal = health->noteRefusal(Source::tencentCandles, *answer);
    auto candles = parseStockCandles(answer->body, code, period);
    if (!candles)
        candles.error().refusal = refusal;
    co_return candles;
}

QCoro::Task<Result<FoundList>> foundFrom(HttpClient *http, SharedSourceHealth health, std::optional<QUrl> url,
                                         MarketSegment segment)
{
    if (!url)
        co_return FoundList();
    if (const auto held = health->refusal(Source::tencentSearch))
        co_return tl::unexpected(searchFailure(held));
    const auto answer = co_await http->get(*url, requestHeaders());
    if (!answer)
        co_return tl::unexpected(searchFailure());
    const auto refusal = health->noteRefusal(Source::tencentSearch, *answer);
    auto found = parseSearchAnswer(decodeGb18030(answer->body), segment);
    if (!found)
        co_return tl::unexpected(searchFailure(refusal));
    co_return std::move(*found);
}

} // namespace

StockMarketService::StockMarketService(HttpClient &http, const Clock &clock, Endpoints endpoints,
                                       SharedSourceHealth health)
    : m_http(&http), m_clock(&clock), m_endpoints(std::move(endpoints)), m_health(std::move(health))
{}

QCoro::Task<Result<StockQuotes>> StockMarketService::fetchQuotes(const QStringList &codes) const
{
    // Without codes there is nothing to ask; an absent address sends no request.
    std::optional<QUrl> url;
    if (!codes.isEmpty())
        url = requestUrl(m_endpoints.tencentQuotes + "/q="_L1 + codes.join(u',').toLower());
    return quotesFrom(m_http, m_health, m_clock, std::move(url));
}

QCoro::Task<Result<StockQuote>> StockMarketService::fetchQuote(const QString &code) const
{
    return quoteFrom(fetchQuotes({code}), code.toLower());
}

QCoro::Task<Result<CandleList>> StockMarketService::fetchKlines(const QString &code, const QString &period,
                                                                int count) const
{
    const QString lower = code.toLower();
    auto url = requestUrl(m_endpoints.tencentCandles + "/appstock/app/fqkline/get?param="_L1 + lower + u',' +
                          period + ",,,"_L1 + QString::number(count) + ",qfq"_L1);
    return stockKlinesFrom(m_http, m_health, std::move(url), lower, period);
}

QCoro::Task<Result<FoundList>> StockMarketService::search(MarketSegment segment, const QString &text) const
{
    std::optional<QUrl> url;
    if (const QString asked = text.trimmed().left(longestQuestion); !asked.isEmpty())
        url = requestUrl(m_endpoints.tencentSearch + "/s3/?v=2&q="_L1 +
                         QString::fromLatin1(QUrl::toPercentEncoding(asked)) + "&t=all"_L1);
    return foundFrom(m_http, m_health, std::move(url), segment);
}

} // namespace kestrune
