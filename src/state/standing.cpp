// SPDX-License-Identifier: MIT
#include "state/standing.h"

#include "market/stockquote.h"

#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;

namespace kestrune {

namespace {

using std::chrono::nanoseconds;

constexpr auto hongKongDelay = 20min; ///< free quotes of Hong Kong come 15 minutes late and a little more
constexpr auto closingQuotes = 60s;   ///< the last quote of a session may be this much older than its end
constexpr nanoseconds minute = std::chrono::minutes(1);
constexpr double leapFactor = 8;
constexpr double sameValue = 0.2; ///< how far two answers that say the same may lie apart

bool isLeap(double before, double value)
{
    return value > before * leapFactor || value < before / leapFactor;
}

/// `age` is shown, `staleness` is compared with `limit`.
Judgement aged(nanoseconds age, nanoseconds staleness, nanoseconds limit)
{
    if (staleness <= limit)
        return {Standing::fresh, age, limit - staleness + 1ms};
    return {Standing::old, age, minute - age % minute};
}

} // namespace

nanoseconds toleratedLag(StockMarket exchange)
{
    return exchange == StockMarket::hk ? nanoseconds(hongKongDelay) : 0ns;
}

std::optional<StockMarket> exchangeOf(const Subject &subject)
{
    if (subject.market == MarketSegment::crypto)
        return std::nullopt;
    const StockMarket usual = subject.market == MarketSegment::hk ? StockMarket::hk : StockMarket::sh;
    return stockMarketOf(subject.symbol).value_or(usual);
}

PriceOrigin originOfPrice(Subject subject, double value, const StockQuote *quote,
                          const std::optional<PriceOrigin> &before, const Clock &clock)
{
    PriceOrigin origin{.subject = std::move(subject),
                       .receivedAt = clock.steady(),
                       .time = clock.now(),
                       .value = value,
                       .believed = value};
    const bool follows = before && before->subject == origin.subject;
    if (follows && isLeap(before->believed, value)) {
        const bool repeated =
            before->value != before->believed && std::abs(value - before->value) <= before->value * sameValue;
        origin.believed = repeated ? value : before->believed;
    }
    origin.advancedAt = origin.receivedAt;
    if (!quote)
        return origin;
    origin.suspended = quote->suspended;
    origin.quotedAt = quote->quotedAt;
    if (!origin.quotedAt)
        return origin;
    origin.lag = std::max<nanoseconds>(origin.time - *origin.quotedAt, 0ns);
    origin.time = *origin.quotedAt;
    if (follows && before->quotedAt == origin.quotedAt) {
        origin.advancedAt = before->advancedAt;
        origin.lag = before->lag;
    }
    return origin;
}

Judgement judgeAnalysis(const std::optional<Origin> &origin, const Subject &selected, SteadyInstant now)
{
    if (!origin)
        return {};
    if (origin->subject != selected)
        return {.standing = Standing::foreign};
    const nanoseconds age = now - origin->receivedAt;
    return aged(age, origin->stale ? nanoseconds::max() : age, analysisFreshFor);
}

Judgement judgePrice(const std::optional<PriceOrigin> &origin, const Subject &selected, SteadyInstant now,
                     Instant wallTime)
{
    if (!origin)
        return {};
    if (!origin->subject.sameInstrument(selected))
        return {.standing = Standing::foreign};
    const nanoseconds sinceAnswer = now - origin->receivedAt;
    Judgement judged;
    if (const auto exchange = exchangeOf(selected); !exchange) {
        judged = aged(sinceAnswer, sinceAnswer, priceFreshFor);
    } else {
        const nanoseconds untold = std::max<nanoseconds>(origin->lag - toleratedLag(*exchange), 0ns);
        const nanoseconds age = now - origin->advancedAt + untold;
        const MarketSession session = marketSession(*exchange, wallTime);
        if (session.open) {
            // The first quote of a session may take as long as any other, and what rests brings none; a
            // source that answers nothing is given no such grace.
            const auto sinceFirst = std::max<nanoseconds>(session.since - toleratedLag(*exchange), 0ns);
            const nanoseconds staleness =
                origin->suspended ? sinceAnswer : std::max(sinceAnswer, std::min(age, sinceFirst));
            judged = aged(age, staleness, priceFreshFor);
        } else {
            const bool ofTheEnd =
                sinceAnswer <= session.since ||
                (origin->quotedAt && wallTime - *origin->quotedAt <= session.since + closingQuotes);
            judged = aged(age, ofTheEnd ? 0ns : nanoseconds::max(), priceFreshFor);
            if (ofTheEnd)
                judged.changesIn.reset(); // until the next session, whose passes notice its beginning
        }
    }
    if (origin->value != origin->believed)
        judged.standing = Standing::doubted;
    return judged;
}

std::optional<std::chrono::minutes> quoteDelay(const PriceOrigin &origin, Instant wallTime)
{
    const auto exchange = exchangeOf(origin.subject);
    if (!exchange || !origin.quotedAt || origin.lag < minute || origin.lag > toleratedLag(*exchange) ||
        !marketSession(*exchange, wallTime).open)
        return std::nullopt;
    return std::chrono::round<std::chrono::minutes>(origin.lag);
}

bool isPrice(double value)
{
    return std::isfinite(value) && value > 0;
}

} // namespace kestrune
