// SPDX-License-Identifier: MIT
#include "state/alertwatch.h"

#include "market/stockquote.h"

#include <algorithm>
#include <utility>

namespace kestrune {

namespace {

// One key for all that an instrument may be asked of: it rests as a whole.
SourceTopic topicOf(const QString &symbol)
{
    return {.source = {}, .subject = symbol, .detail = symbol};
}

} // namespace

AlertWatch::AlertWatch(const Clock &clock) : m_clock(clock), m_health(clock, period) {}

bool AlertWatch::isNeeded(const std::vector<PriceAlert> &alerts, const QString &selected)
{
    return std::ranges::any_of(alerts,
                               [&selected](const PriceAlert &alert) { return alert.symbol != selected; });
}

// Outside the hours one quote is enough that has come after them, or is of after them; delayed ones come for
// a while.
bool AlertWatch::rests(const QString &symbol, const Watched &watched) const
{
    if (m_health.rests(topicOf(symbol)))
        return true;
    const auto exchange = exchangeOf({segmentOf(symbol), symbol, {}});
    if (!exchange || !watched.last)
        return false;
    const MarketSession session = marketSession(*exchange, m_clock.now());
    if (session.open)
        return false;
    const auto sinceAnswer = m_clock.steady() - watched.last->receivedAt;
    return sinceAnswer + toleratedLag(*exchange) <= session.since ||
           (watched.last->quotedAt && m_clock.now() - *watched.last->quotedAt <= session.since);
}

AlertWatch::Asking AlertWatch::due(const std::vector<PriceAlert> &alerts, const QString &selected)
{
    std::map<QString, Watched> watched;
    for (const PriceAlert &alert : alerts) {
        if (alert.symbol != selected && !watched.contains(alert.symbol))
            watched[alert.symbol] = m_watched[alert.symbol];
    }
    m_watched = std::move(watched);
    Asking asking;
    for (auto &[symbol, known] : m_watched) {
        if (std::exchange(known.came, false) || known.asked || rests(symbol, known))
            continue;
        known.asked = true;
        (segmentOf(symbol) == MarketSegment::crypto ? asking.coins : asking.stocks).append(symbol);
    }
    return asking;
}

void AlertWatch::noteAnswer(const QString &symbol, bool usable)
{
    if (const auto known = m_watched.find(symbol); known != m_watched.end())
        known->second.asked = false;
    usable ? m_health.noteSuccess(topicOf(symbol)) : m_health.noteSilence(topicOf(symbol));
}

std::optional<double> AlertWatch::take(const QString &symbol, double price, const StockQuote *quote)
{
    Watched &known = m_watched[symbol];
    known.came = !known.asked; // what somebody else has asked for
    const Subject subject{segmentOf(symbol), symbol, {}};
    known.last = originOfPrice(subject, price, quote, known.last, m_clock);
    const Judgement judged = judgePrice(known.last, subject, m_clock.steady(), m_clock.now());
    // A quote may have been made right after the last time it was asked for.
    const bool recent = judged.fresh() || judged.age <= priceFreshFor + period;
    return judged.believed() && recent ? std::optional(price) : std::nullopt;
}

} // namespace kestrune
