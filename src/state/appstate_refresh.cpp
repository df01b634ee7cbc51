// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "analysis/priceformat.h"
#include "market/marketservice.h"
#include "market/stockmarketservice.h"
#include "platform/async.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

namespace {

constexpr int cryptoCandleCount = 200;
constexpr int stockCandleCount = 320;
constexpr int sparklineCount = 160;

std::vector<double> lastCloses(const CandleList &candles, std::size_t count)
{
    std::vector<double> closes;
    const std::size_t first = candles.size() > count ? candles.size() - count : 0;
    closes.reserve(candles.size() - first);
    for (std::size_t i = first; i < candles.size(); ++i)
        closes.push_back(candles[i].c);
    return closes;
}

} // namespace

QCoro::Task<std::optional<CandleList>> AppState::fetchCandles(QString label)
{
    const auto self = shared_from_this();
    auto request = isStock()
                       ? m_stockService->fetchKlines(coinSymbol(), stockPeriod(label), stockCandleCount)
                       : m_marketService->fetchKlines(coinSymbol(), cryptoInterval(label), cryptoCandleCount);
    auto candles = co_await request;
    if (!candles)
        co_return std::nullopt;
    co_return std::move(*candles);
}

QCoro::Task<> AppState::refreshPrice()
{
    const auto self = shared_from_this();
    const double step = tick(); // of the segment that was asked, whatever is selected when the answer comes
    auto request = isStock() ? refreshStockPrice() : refreshCryptoPrice();
    const auto newPrice = co_await request;
    if (!newPrice)
        co_return;
    evaluateAlerts();
    if (!lastSRCandles.empty()) {
        zones = buildZones(m_lastSRLevels, *newPrice, step);
        zonePrice = *newPrice;
    }
}

QCoro::Task<std::optional<double>> AppState::refreshStockPrice()
{
    const auto quote = co_await m_stockService->fetchQuote(coinSymbol());
    if (!quote) {
        errorMessage = u"行情获取失败"_s;
        co_return std::nullopt;
    }
    price = quote->price;
    changePct = quote->changePct;
    decimals = 2;
    dataSource = u"腾讯财经（A股 / 港股）"_s;
    const double newPrice = quote->price;
    stockQuote = *quote;
    errorMessage = std::nullopt;
    lastUpdated = m_dependencies.clock.now();
    co_return newPrice;
}

QCoro::Task<std::optional<double>> AppState::refreshCryptoPrice()
{
    const auto result = co_await m_marketService->fetchPrice(coinSymbol());
    if (!result) {
        errorMessage = u"价格获取失败"_s;
        co_return std::nullopt;
    }
    stockQuote = std::nullopt;
    price = result->price;
    changePct = result->change;
    decimals = getDecimals(result->price);
    dataSource = u"Gate.io / Binance 现货（与网页版一致）"_s;
    errorMessage = std::nullopt;
    lastUpdated = m_dependencies.clock.now();
    co_return result->price;
}

QCoro::Task<> AppState::refreshSR()
{
    const auto self = shared_from_this();
    isLoading = true;
    auto request = isStock() ? refreshStockZones() : refreshCryptoZones();
    const bool fetched = co_await request;
    if (fetched) {
        errorMessage = std::nullopt;
        lastUpdated = m_dependencies.clock.now();
    } else {
        errorMessage = u"撑压数据获取失败"_s;
    }
    isLoading = false;
}

QCoro::Task<bool> AppState::refreshCryptoZones()
{
    const QString code = coinSymbol();
    const auto candles =
        co_await m_marketService->fetchKlines(code, cryptoInterval(timeframe()), cryptoCandleCount);
    if (!candles)
        co_return false;
    applyCandles(*candles, 0);
    // For the instrument selected by now, as every request is.
    const auto minutes = co_await m_marketService->fetchKlines(coinSymbol(), u"1m"_s, sparklineCount);
    sparkline = minutes ? lastCloses(*minutes, minutes->size()) : lastCloses(*candles, candles->size());
    fillMarketContext(*candles);
    co_return true;
}

QCoro::Task<bool> AppState::refreshStockZones()
{
    const QString code = coinSymbol();
    const double step = tick(); // of the segment that was asked, as above
    const QString period = stockPeriod(timeframe());
    auto candles = co_await m_stockService->fetchKlines(code, period, stockCandleCount);
    if (!candles) // deliberate: one identical retry at once, for stocks only
        candles = co_await m_stockService->fetchKlines(code, period, stockCandleCount);
    if (!candles)
        co_return false;
    applyCandles(*candles, step);
    sparkline = lastCloses(*candles, sparklineCount);
    fillMarketContext(*candles);
    co_return true;
}

void AppState::applyCandles(const CandleList &candles, double step)
{
    CandleLevels levels(candles);
    zones = buildZones(levels, candles.back().c, step);
    lastSRCandles = candles;
    m_lastSRLevels = std::move(levels);
}

// The two clients end one after the other. A price request that the second one's end has cut short must not
// lead on to the first, for the segment may have changed since it was asked.
bool AppState::programIsEnding() const
{
    return m_cryptoLifetime.expired() || m_stockLifetime.expired();
}

QCoro::Task<RefreshOutcome> AppState::refreshAll()
{
    const auto self = shared_from_this();
    co_await refreshPrice();
    if (programIsEnding())
        co_return RefreshOutcome{false, errorMessage().value_or(QString())};
    auto zoneRefresh = refreshSR();
    auto snapshotRefresh = refreshSnapshot();
    co_await zoneRefresh;
    co_await snapshotRefresh;
    if (const auto &message = errorMessage(); message && !message->isEmpty())
        co_return RefreshOutcome{false, *message};
    co_return RefreshOutcome{true, u"刷新成功"_s};
}

QCoro::Task<> AppState::refreshEverything()
{
    const auto self = shared_from_this();
    co_await refreshAll();
}

void AppState::runInBackground(QCoro::Task<> (AppState::*refresh)())
{
    startInBackground(this, [this, refresh] { return (this->*refresh)(); });
}

void AppState::startLoop(std::optional<std::stop_source> &handle, LoopFunction loop)
{
    if (handle)
        handle->request_stop();
    handle.emplace();
    startInBackground(this, [loop, weak = weak_from_this(), clock = &m_dependencies.clock,
                             stop = handle->get_token()] { return loop(weak, clock, stop); });
}

void AppState::startTimers()
{
    startLoop(priceTask, &AppState::priceLoop);
    startLoop(srTask, &AppState::srLoop);
    if (alertPulseTask)
        alertPulseTask->request_stop();
    alertPulseTask.reset();
    startAlertPulseIfNeeded();
}

// A loop that is stopped during its sleep runs its body once more and ends at the next check.
QCoro::Task<> AppState::priceLoop(Weak weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (!co_await clock->sleep(5s, stop))
            co_return;
        // deliberate: without a state this loop alone goes on sleeping; its owner's end stops it.
        if (const auto state = weak.lock())
            co_await state->refreshPrice();
    }
}

QCoro::Task<> AppState::srLoop(Weak weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (!co_await clock->sleep(60s, stop))
            co_return;
        const auto state = weak.lock();
        if (!state)
            co_return;
        auto zoneRefresh = state->refreshSR();
        auto snapshotRefresh = state->refreshSnapshot();
        co_await zoneRefresh;
        co_await snapshotRefresh;
    }
}

void AppState::selectCoin(const QString &code)
{
    coinSymbol = code;
    settings::coin.store(m_dependencies.preferences, code);
    startAlertPulseIfNeeded();
}

void AppState::setCoin(const QString &code)
{
    selectCoin(code);
    clearAnalysisState();
    refreshBlingIfNeeded();
    runInBackground(&AppState::refreshEverything);
}

void AppState::setMarket(MarketSegment segment)
{
    if (segment == market())
        return;
    market = segment;
    selectCoin(symbolList().constFirst());
    timeframe = timeframeOptions().constFirst();
    settings::timeframe.store(m_dependencies.preferences, timeframe()); // deliberate: a second time
    if (isStock())
        leverage = 1.0; // deliberate: switching back does not restore the earlier leverage
    clearAnalysisState();
    refreshBlingIfNeeded();
    runInBackground(&AppState::refreshEverything);
}

void AppState::setTimeframe(const QString &label)
{
    if (label == timeframe())
        return;
    timeframe = label;
    // deliberate: no reset, so the old zones stay visible; the snapshot's timeframes are fixed anyway.
    runInBackground(&AppState::refreshSR);
}

void AppState::clearAnalysisState()
{
    lastSRCandles.clear();
    m_lastSRLevels = {};
    sparkline = {};
    stockQuote = std::nullopt;
    zones = {};
    zonePrice = 0;
    ctxEMA50 = std::nullopt;
    ctxEMA200 = std::nullopt;
    ctxVegas = std::nullopt;
    ctxRSI = std::nullopt;
    ctxMACDHist = std::nullopt;
    ctxATR = std::nullopt;
    ctxVWAP = std::nullopt;
    snapshot = {};
    snapshotConclusion = u"加载中…"_s;
    errorMessage = std::nullopt;
}

} // namespace kestrune
