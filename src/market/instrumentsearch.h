// SPDX-License-Identifier: MIT
#pragma once

#include "market/searchparsers.h"
#include "platform/clock.h"

#include <QCoroTask>

#include <chrono>
#include <memory>

namespace kestrune {

class MarketService;
class StockMarketService;

/// Finds instruments that are in no list yet. Calls may overlap, and the object may go away while they run
/// (the clock may not).
class InstrumentSearch
{
public:
    static constexpr std::chrono::hours keptFor{1};

    /// The services outlive it.
    InstrumentSearch(const MarketService &crypto, const StockMarketService &stocks, const Clock &clock);

    /// Every contract; the list is kept for an hour, and who asks while it is fetched gets the same one.
    /// Error 6 when no source serves.
    [[nodiscard]] QCoro::Task<Result<FoundList>> crypto() const;
    /// By code, name or pinyin, best first; nothing for an empty text. Error 6.
    [[nodiscard]] QCoro::Task<Result<FoundList>> stocks(MarketSegment segment, const QString &text) const;
    /// Whether a price comes for a code.
    [[nodiscard]] QCoro::Task<bool> answers(MarketSegment segment, const QString &symbol) const;

private:
    struct Contracts;
    static QCoro::Task<Result<FoundList>> contracts(std::shared_ptr<Contracts> kept,
                                                    const MarketService *service, const Clock *clock);

    const MarketService *m_crypto;
    const StockMarketService *m_stocks;
    const Clock *m_clock;
    std::shared_ptr<Contracts> m_contracts;
};

/// Those whose code begins with a text, then those that hold it elsewhere, each by turnover; all by turnover
/// for an empty one.
[[nodiscard]] FoundList matching(const FoundList &list, const QString &text);

} // namespace kestrune
