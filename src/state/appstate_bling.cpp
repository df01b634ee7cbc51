// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "market/marketservice.h"
#include "market/stockmarketservice.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

namespace {

std::vector<SymbolPrice> placeholders(const QStringList &codes)
{
    std::vector<SymbolPrice> entries;
    entries.reserve(std::size_t(codes.size()));
    for (const QString &code : codes)
        entries.push_back({bareCode(code), std::nullopt, std::nullopt});
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
    multiPrices = placeholders(blingSymbols());
}

QCoro::Task<> AppState::refreshBlingPrices()
{
    const auto self = shared_from_this();
    const QStringList codes = blingSymbols();
    if (isStock()) {
        const auto answer = co_await m_stockService->fetchQuotes(codes);
        const StockQuotes quotes = answer.value_or(StockQuotes());
        std::vector<SymbolPrice> entries;
        for (const QString &code : codes) {
            if (const auto quote = quotes.constFind(code.toLower()); quote != quotes.constEnd())
                entries.push_back({bareCode(quote->symbol), quote->price, quote->changePct});
        }
        multiPrices = entries.empty() ? placeholders(codes) : std::move(entries);
    } else {
        multiPrices = co_await m_marketService->fetchPricesConcurrently(codes);
    }
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
