// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "market/marketservice.h"
#include "market/stockmarketservice.h"
#include "state/alertdesk.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

namespace {

std::vector<SymbolPrice> placeholders(MarketSegment segment, const QStringList &codes)
{
    std::vector<SymbolPrice> entries;
    entries.reserve(std::size_t(codes.size()));
    for (const QString &code : codes)
        entries.push_back({shownCode(segment, code), std::nullopt, std::nullopt});
    return entries;
}

} // namespace

void AppState::toggleBlingMode()
{
    blingMode = !blingMode();
}

void AppState::blingModeDidChange(bool on)
{
    settings::blingMode.store(m_dependencies.preferences, on);
    if (on) {
        miniMode = false;
        showBlingPlaceholders();
        runInBackground(&AppState::refreshBlingPrices);
        startBlingTimer();
        startBlingPulse();
        return;
    }
    if (blingTask)
        blingTask->request_stop();
    stopBlingPulse();
    multiPrices = {};
    miniMode = true; // deliberate: leaving always lands in the compact title, whatever it was before
}

void AppState::showBlingPlaceholders()
{
    multiPrices = placeholders(market(), blingSymbols());
    m_signAnswers.clear();
    for (const SymbolPrice &sign : multiPrices())
        m_signAnswers.insert(sign.symbol, m_dependencies.clock.steady());
}

void AppState::noteSigns(const std::vector<SymbolPrice> &signs)
{
    for (const SymbolPrice &sign : signs) {
        if (const auto known = m_signAnswers.find(sign.symbol); known != m_signAnswers.end() && sign.price)
            *known = m_dependencies.clock.steady();
    }
}

// What is not among the segment's signs is a late answer of another segment.
bool AppState::signIsDim(const QString &symbol) const
{
    const auto answered = m_signAnswers.constFind(symbol);
    return answered == m_signAnswers.cend() || m_dependencies.clock.steady() - *answered > priceFreshFor;
}

QCoro::Task<> AppState::refreshBlingPrices()
{
    const auto self = shared_from_this();
    const QStringList codes = blingSymbols();
    const MarketSegment segment = market();
    std::vector<SymbolPrice> entries;
    if (isStock()) {
        const auto answer = co_await m_stockService->fetchQuotes(codes);
        const StockQuotes quotes = answer.value_or(StockQuotes());
        for (const QString &code : codes) {
            if (const auto quote = quotes.constFind(code.toLower()); quote != quotes.constEnd()) {
                entries.push_back({bareCode(quote->symbol), quote->price, quote->changePct});
                m_book.noteName(code, quote->name);
            }
        }
        for (const QString &code : codes) {
            if (const auto quote = quotes.constFind(code.toLower()); quote != quotes.constEnd())
                m_alertDesk->noteOther(code, quote->price, &*quote);
        }
        if (entries.empty())
            entries = placeholders(segment, codes);
    } else {
        entries = co_await m_marketService->fetchPricesConcurrently(codes);
        for (const SymbolPrice &entry : entries)
            m_alertDesk->noteOther(entry.symbol, entry.price.value_or(0), nullptr);
    }
    for (SymbolPrice &entry : entries) {
        if (entry.price && !isPrice(*entry.price))
            entry.price.reset();
    }
    noteSigns(entries);
    multiPrices = std::move(entries);
    // deliberate: a refresh that ends after the mode was switched off still shows its list.
    lastUpdated = m_dependencies.clock.now();
}

void AppState::refreshBlingIfNeeded()
{
    if (!blingMode())
        return;
    showBlingPlaceholders();
    runInBackground(&AppState::refreshBlingPrices);
}

void AppState::startBlingTimer()
{
    startLoop(blingTask, &AppState::blingLoop);
}

void AppState::startBlingPulse()
{
    startLoop(blingPulseTask, &AppState::blingPulseLoop);
}

void AppState::stopBlingPulse()
{
    if (blingPulseTask)
        blingPulseTask->request_stop();
    blingPulseTask.reset();
    blingPulse = 0;
}

QCoro::Task<> AppState::blingLoop(Weak weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (!co_await clock->sleep(5s, stop))
            co_return;
        const auto state = weak.lock();
        if (!state || !state->blingMode())
            co_return;
        co_await state->refreshBlingPrices();
    }
}

QCoro::Task<> AppState::blingPulseLoop(Weak weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (!co_await clock->sleep(150ms, stop))
            co_return;
        const auto state = weak.lock();
        if (!state || !state->blingMode())
            co_return;
        state->blingPulse = state->blingPulse() + 1;
    }
}

} // namespace kestrune
