// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "analysis/priceformat.h"
#include "market/marketservice.h"
#include "market/sourcehealth.h"
#include "market/stockmarketservice.h"
#include "platform/async.h"
#include "state/alertdesk.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

namespace {

constexpr int cryptoCandleCount = 200;
constexpr int stockCandleCount = 320;
constexpr int sparklineCount = 160;
constexpr auto countsAsOne = 2s; // what a machine tells that wakes: network, lock and sleep

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

void AppState::noteFailure(std::optional<Failure> &failure, bool own, const QString &message)
{
    if (own && !failure)
        failure = Failure{message, m_dependencies.clock.now()};
    errorMessage = message;
}

QCoro::Task<> AppState::refreshPrice()
{
    const auto self = shared_from_this();
    auto request = isStock() ? refreshStockPrice(selection()) : refreshCryptoPrice(selection());
    const bool fetched = co_await request;
    watchAges();
    if (!fetched)
        co_return;
    evaluateAlerts();
    if (priceStanding().believed())
        rebuildZonesAt(*price());
    m_alertDesk->zonesRebuilt(false);
}

// What comes of another instrument in between makes no leap of this one believable.
void AppState::notePrice(Subject asked, double value, const StockQuote *quote)
{
    asked.timeframe.clear();
    priceOrigin = originOfPrice(asked, value, quote, m_ownPriceOrigin, m_dependencies.clock);
    if (!asked.sameInstrument(selection())) {
        m_alertDesk->noteOther(asked.symbol, value, quote);
        return;
    }
    m_ownPriceOrigin = priceOrigin;
    priceFailure.reset();
}

QCoro::Task<bool> AppState::refreshStockPrice(Subject asked)
{
    const auto quote = co_await m_stockService->fetchQuote(asked.symbol);
    if (!quote || !isPrice(quote->price)) {
        noteFailure(priceFailure, asked.sameInstrument(selection()), u"行情获取失败"_s);
        co_return false;
    }
    notePrice(asked, quote->price, &*quote);
    price = quote->price;
    changePct = quote->changePct;
    decimals = priceGrid(asked.symbol).decimals;
    m_book.noteName(asked.symbol, quote->name);
    dataSource = u"腾讯财经（A股 / 港股）"_s;
    stockQuote = *quote;
    errorMessage = std::nullopt;
    lastUpdated = m_dependencies.clock.now();
    co_return true;
}

QCoro::Task<bool> AppState::refreshCryptoPrice(Subject asked)
{
    const auto result = co_await m_marketService->fetchPrice(asked.symbol);
    if (!result || !isPrice(result->price)) {
        noteFailure(priceFailure, asked.sameInstrument(selection()), u"价格获取失败"_s);
        co_return false;
    }
    notePrice(asked, result->price, nullptr);
    stockQuote = std::nullopt;
    price = result->price;
    changePct = result->change;
    decimals = getDecimals(result->price);
    dataSource = u"Gate.io / Binance 现货（与网页版一致）"_s;
    errorMessage = std::nullopt;
    lastUpdated = m_dependencies.clock.now();
    co_return true;
}

// The candles may be of another timeframe than the selected one: what is listed moves with the price all the
// same until the new ones come.
void AppState::rebuildZonesAt(double newPrice)
{
    if (lastSRCandles.empty() || !zonesOrigin || !zonesOrigin->subject.sameInstrument(selection()))
        return;
    zones = buildZones(m_lastSRLevels, newPrice, tick());
    zonePrice = newPrice;
    m_zonePriceOf = selection();
}

void AppState::rebuildZonesAtLivePrice()
{
    const auto live = livePrice();
    if (!live)
        return;
    rebuildZonesAt(*live);
    decimals = decimalsFor(*live);
}

int AppState::decimalsFor(double value) const
{
    return isStock() ? priceGrid(coinSymbol()).decimals : getDecimals(value);
}

QCoro::Task<> AppState::refreshSR()
{
    return refreshZones(ZonesAt::close);
}

QCoro::Task<> AppState::refreshZones(ZonesAt at)
{
    const auto self = shared_from_this();
    const Subject asked = selection();
    m_zonesAsked.push_back(asked);
    isLoading = true;
    auto request = isStock() ? refreshStockZones(asked, at) : refreshCryptoZones(asked, at);
    const bool fetched = co_await request;
    m_zonesAsked.erase(std::ranges::find(m_zonesAsked, asked));
    const bool own = asked == selection();
    if (fetched) {
        if (own)
            zonesFailure.reset();
        errorMessage = std::nullopt;
        lastUpdated = m_dependencies.clock.now();
    } else {
        noteFailure(zonesFailure, own, u"撑压数据获取失败"_s);
    }
    isLoading = false;
    watchAges();
    if (fetched && own)
        m_alertDesk->zonesRebuilt(true);
    if (fetched && !own && std::ranges::find(m_zonesAsked, selection()) == m_zonesAsked.end())
        runInBackground(&AppState::refreshZonesAtLivePrice);
}

QCoro::Task<bool> AppState::refreshCryptoZones(Subject asked, ZonesAt at)
{
    const auto candles = co_await m_marketService->fetchKlines(asked.symbol, cryptoInterval(asked.timeframe),
                                                               cryptoCandleCount);
    if (!candles)
        co_return false;
    applyCandles(*candles, 0, asked, at);
    // For the instrument selected by now, as every request is.
    const auto minutes = co_await m_marketService->fetchKlines(coinSymbol(), u"1m"_s, sparklineCount);
    sparkline = minutes ? lastCloses(*minutes, minutes->size()) : lastCloses(*candles, candles->size());
    fillMarketContext(*candles, asked, at);
    co_return true;
}

QCoro::Task<bool> AppState::refreshStockZones(Subject asked, ZonesAt at)
{
    const double step = tick(); // of the instrument that is asked, whatever is selected when the answer comes
    const QString period = stockPeriod(asked.timeframe);
    auto candles = co_await m_stockService->fetchKlines(asked.symbol, period, stockCandleCount);
    if (!candles) // deliberate: one identical retry at once, for stocks only
        candles = co_await m_stockService->fetchKlines(asked.symbol, period, stockCandleCount);
    if (!candles)
        co_return false;
    applyCandles(*candles, step, asked, at);
    sparkline = lastCloses(*candles, sparklineCount);
    fillMarketContext(*candles, asked, at);
    co_return true;
}

// A stock's candles end with the day of its quote: where nothing was traded since, none is missing.
bool AppState::isOld(const CandleList &candles, const Subject &asked) const
{
    Instant until = m_dependencies.clock.now();
    if (priceOrigin && priceOrigin->quotedAt && priceOrigin->subject.sameInstrument(asked))
        until = std::min(until, *priceOrigin->quotedAt);
    return candlesAreOld(asked.market, asked.timeframe, candles.back().ts, until);
}

void AppState::applyCandles(const CandleList &candles, double step, const Subject &asked, ZonesAt at)
{
    CandleLevels levels(candles);
    zonesOrigin = Origin{asked, m_dependencies.clock.steady(), isOld(candles, asked)};
    zones = buildZones(levels, candles.back().c, step);
    lastSRCandles = candles;
    m_lastSRLevels = std::move(levels);
    if (at == ZonesAt::livePrice)
        rebuildZonesAtLivePrice();
}

// The two clients end one after the other. A price request that the second one's end has cut short must not
// lead on to the first, for the segment may have changed since it was asked.
bool AppState::programIsEnding() const
{
    return m_cryptoLifetime.expired() || m_stockLifetime.expired();
}

QCoro::Task<RefreshOutcome> AppState::refreshAll()
{
    return refreshAll(ZonesAt::close);
}

QCoro::Task<RefreshOutcome> AppState::refreshAll(ZonesAt at)
{
    const auto self = shared_from_this();
    co_await refreshPrice();
    if (programIsEnding())
        co_return RefreshOutcome{false, errorMessage().value_or(QString())};
    auto zoneRefresh = refreshZones(at);
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

void AppState::startLoop(std::optional<std::stop_source> &handle, Loop *loop)
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
    updateAlertLoops();
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
        auto zoneRefresh = state->refreshZonesAtLivePrice();
        auto snapshotRefresh = state->refreshSnapshot();
        co_await zoneRefresh;
        co_await snapshotRefresh;
    }
}

void AppState::refreshNow()
{
    agesPassed = agesPassed() + 1;
    watchAges(); // its sleep may have stood still meanwhile
    m_sources->forgetFailures();
    if (m_resuming != Resuming::no) {
        m_resuming = Resuming::askedAgain;
        return;
    }
    m_resuming = Resuming::yes;
    startLoop(resumeTask, &AppState::resumeLoop);
}

QCoro::Task<> AppState::resumeLoop(Weak weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        auto state = weak.lock();
        if (!state)
            co_return;
        state->m_resuming = Resuming::yes;
        if (state->blingMode())
            state->runInBackground(&AppState::refreshBlingPrices);
        state->m_alertDesk->askNow();
        const SteadyInstant over = clock->steady() + countsAsOne;
        co_await state->refreshAll(ZonesAt::livePrice);
        state->m_alertDesk->caughtUp();
        state.reset();
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(over - clock->steady());
        if (!co_await clock->sleep(std::max(rest, 0ms), stop))
            co_return;
        state = weak.lock();
        if (!state)
            co_return;
        // Whoever asked meanwhile has been answered, unless the network was not there yet.
        if (state->m_resuming != Resuming::askedAgain || (!state->priceFailure && !state->zonesFailure)) {
            state->m_resuming = Resuming::no;
            co_return;
        }
    }
}

std::optional<std::chrono::nanoseconds> AppState::nextAgeChange() const
{
    std::optional<std::chrono::nanoseconds> next;
    for (const Judgement &judged : {priceStanding(), zonesStanding(), signalsStanding()}) {
        if (judged.changesIn && (!next || *judged.changesIn < *next))
            next = judged.changesIn;
    }
    return next;
}

// Begun anew with everything that comes, so that it sleeps through as long as all is fresh.
void AppState::watchAges()
{
    startLoop(ageTask, &AppState::ageLoop);
}

QCoro::Task<> AppState::ageLoop(Weak weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        std::optional<std::chrono::nanoseconds> next;
        if (const auto state = weak.lock())
            next = state->nextAgeChange();
        if (!next)
            co_return;
        if (!co_await clock->sleep(std::chrono::ceil<std::chrono::milliseconds>(*next), stop))
            co_return;
        const auto state = weak.lock();
        if (!state || stop.stop_requested())
            co_return;
        state->agesPassed = state->agesPassed() + 1;
    }
}

void AppState::selectCoin(const QString &code)
{
    coinSymbol = code;
    settings::coin.store(m_dependencies.preferences, code);
    updateAlertLoops();
    watchAges();
}

void AppState::setCoin(const QString &code)
{
    selectCoin(code);
    clearAnalysisState();
    refreshBlingIfNeeded();
    runInBackground(&AppState::refreshEverything);
}

void AppState::setMarket(MarketSegment segment, const std::optional<QString> &code)
{
    if (segment == market())
        return;
    market = segment;
    selectCoin(code.value_or(symbolList().constFirst()));
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
    watchAges();
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
    zonesOrigin.reset();
    signalsOrigin.reset();
    for (auto *owner : {&m_zonePriceOf, &m_readingsOf, &m_tunnelOf, &m_histogramOf})
        owner->reset();
    priceFailure.reset();
    zonesFailure.reset();
    errorMessage = std::nullopt;
}

} // namespace kestrune
