// SPDX-License-Identifier: MIT
#include "market/instrumentsearch.h"

#include "market/marketservice.h"
#include "market/stockmarketservice.h"
#include "platform/completion.h"

#include <algorithm>
#include <utility>

namespace kestrune {

namespace {

template <typename T>
QCoro::Task<bool> succeeds(QCoro::Task<Result<T>> request)
{
    const auto answer = co_await request;
    co_return answer && answer->price > 0;
}

} // namespace

struct InstrumentSearch::Contracts
{
    FoundList list;
    std::optional<SteadyInstant> until; ///< when the list is to be fetched anew
    bool asking = false;
    std::vector<std::shared_ptr<Completion<Result<FoundList>>>> waiting;
};

InstrumentSearch::InstrumentSearch(const MarketService &crypto, const StockMarketService &stocks,
                                   const Clock &clock)
    : m_crypto(&crypto), m_stocks(&stocks), m_clock(&clock), m_contracts(std::make_shared<Contracts>())
{}

QCoro::Task<Result<FoundList>> InstrumentSearch::crypto() const
{
    return contracts(m_contracts, m_crypto, m_clock);
}

// The service is asked before anything is awaited, and is not touched afterwards.
QCoro::Task<Result<FoundList>> InstrumentSearch::contracts(std::shared_ptr<Contracts> kept,
                                                           const MarketService *service, const Clock *clock)
{
    const auto held = std::move(kept);
    if (held->until && clock->steady() < *held->until)
        co_return Result<FoundList>(held->list); // what is returned by name would be moved away
    if (held->asking) {
        const auto answer = std::make_shared<Completion<Result<FoundList>>>();
        held->waiting.push_back(answer);
        co_return co_await *answer;
    }
    held->asking = true;
    auto answer = co_await service->fetchContracts();
    held->asking = false;
    if (answer) {
        held->list = *answer;
        held->until = clock->steady() + keptFor;
    }
    for (const auto &waiter : std::exchange(held->waiting, {}))
        waiter->complete(answer);
    co_return answer;
}

QCoro::Task<Result<FoundList>> InstrumentSearch::stocks(MarketSegment segment, const QString &text) const
{
    return m_stocks->search(segment, text);
}

QCoro::Task<bool> InstrumentSearch::answers(MarketSegment segment, const QString &symbol) const
{
    return segment == MarketSegment::crypto ? succeeds(m_crypto->fetchPrice(symbol))
                                            : succeeds(m_stocks->fetchQuote(symbol));
}

FoundList matching(const FoundList &list, const QString &text)
{
    const QString wanted = codeFromTyped(MarketSegment::crypto, text).value_or(text.trimmed().toUpper());
    FoundList found;
    for (const Found &each : list) {
        if (each.symbol.contains(wanted))
            found.push_back(each);
    }
    std::ranges::stable_sort(found, [&wanted](const Found &a, const Found &b) {
        const bool first = a.symbol.startsWith(wanted);
        return first != b.symbol.startsWith(wanted) ? first : a.turnover > b.turnover;
    });
    return found;
}

} // namespace kestrune
