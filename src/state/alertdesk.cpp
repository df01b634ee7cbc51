// SPDX-License-Identifier: MIT
#include "state/alertdesk.h"

#include "analysis/priceformat.h"
#include "market/marketservice.h"
#include "market/stockmarketservice.h"
#include "platform/async.h"
#include "state/alertrules.h"
#include "state/alerttexts.h"
#include "state/zoneplace.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

AlertDesk::AlertDesk(AppState &state)
    : log(state.m_dependencies.alertLog), m_state(state), m_watch(state.m_dependencies.clock)
{}

AlertDesk::~AlertDesk()
{
    if (m_watchTask)
        m_watchTask->request_stop();
}

void AlertDesk::restore()
{
    if (m_state.alerts().empty())
        return;
    std::vector<PriceAlert> alerts = m_state.alerts();
    const std::vector<AlertLogEntry> &firings = log.entries();
    for (PriceAlert &alert : alerts) {
        const auto last = std::find_if(firings.rbegin(), firings.rend(),
                                       [&alert](const auto &firing) { return firing.id == alert.id; });
        // The acknowledgement is stored with the alert, and with a clock that is set the later may be the
        // smaller.
        if (last != firings.rend() && !last->acknowledgedAt)
            alert.lastFiredAt = epochSeconds(last->time);
    }
    if (alerts != m_state.alerts())
        m_state.alerts = std::move(alerts);
}

void AlertDesk::ring(const std::vector<PriceAlert> &fired)
{
    if (fired.empty())
        return;
    m_state.playAlertSound();
    for (const PriceAlert &alert : fired) {
        AlertLogEntry firing{.id = alert.id,
                             .time = m_state.clock().now(),
                             .symbol = alert.symbol,
                             .name = m_state.alertName(alert),
                             .target = alert.targetPrice,
                             .above = alert.above,
                             .price = alert.firedPrice.value_or(alert.targetPrice),
                             .label = alert.label,
                             .away = m_away};
        if (m_state.desktopNotices())
            attention().notify(firingNotice(firing));
        log.append(std::move(firing));
    }
}

void AlertDesk::acknowledged(const QString &id, const QString &where)
{
    attention().withdraw(id);
    log.acknowledge(id, m_state.clock().now(), where);
}

void AlertDesk::withdrawSettled(const std::vector<PriceAlert> &before)
{
    for (const PriceAlert &alert : before) {
        const auto now = std::ranges::find(m_state.alerts(), alert.id, &PriceAlert::id);
        if (alert.lastFiredAt && (now == m_state.alerts().end() || (alert.triggered && !now->triggered)))
            attention().withdraw(alert.id);
    }
}

void AlertDesk::answered(const QString &id, NoticeChoice choice)
{
    const QString here = u"notification"_s;
    switch (choice) {
    case NoticeChoice::acknowledge:
        m_state.dismissAlert(id, here);
        break;
    case NoticeChoice::snooze:
        m_state.snoozeAlert(id, here);
        break;
    case NoticeChoice::open:
        m_state.showAlertInstrument(id);
        m_state.alertToShow = id;
        break;
    }
}

void AlertDesk::setAway(bool away)
{
    m_awayNow = away;
    m_away = m_away || away;
    if (m_state.m_resuming == AppState::Resuming::no)
        caughtUp();
}

void AlertDesk::updateWatch()
{
    const bool needed = AlertWatch::isNeeded(m_state.alerts(), m_state.coinSymbol());
    if (needed && !m_watchTask) {
        m_state.startLoop(m_watchTask, &AlertDesk::watchLoop);
    } else if (!needed && m_watchTask) {
        m_watchTask->request_stop();
        m_watchTask.reset();
    }
}

QCoro::Task<> AlertDesk::watchLoop(std::weak_ptr<AppState> weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (!co_await clock->sleep(AlertWatch::period, stop))
            co_return;
        const auto state = weak.lock();
        if (!state || stop.stop_requested())
            co_return;
        state->m_alertDesk->ask();
    }
}

void AlertDesk::askNow()
{
    m_watch.forgetFailures();
    ask();
}

// Each answer counts as it comes: none waits for a slower one, and neither does the next period.
void AlertDesk::ask()
{
    const AlertWatch::Asking asking = m_watch.due(m_state.alerts(), m_state.coinSymbol());
    for (const QString &coin : asking.coins)
        startInBackground(&m_state, [this, coin] { return askCoin(coin); });
    if (!asking.stocks.isEmpty())
        startInBackground(&m_state, [this, stocks = asking.stocks] { return askStocks(stocks); });
}

QCoro::Task<> AlertDesk::askCoin(QString symbol)
{
    const auto self = m_state.shared_from_this();
    const auto answer = co_await m_state.m_marketService->fetchPrice(symbol);
    if (answer)
        noteOther(symbol, answer->price, nullptr);
    m_watch.noteAnswer(symbol, answer && isPrice(answer->price));
}

QCoro::Task<> AlertDesk::askStocks(QStringList symbols)
{
    const auto self = m_state.shared_from_this();
    const auto answer = co_await m_state.m_stockService->fetchQuotes(symbols);
    const StockQuotes quotes = answer.value_or(StockQuotes());
    for (const QString &symbol : std::as_const(symbols)) {
        const auto quote = quotes.constFind(symbol.toLower());
        if (quote != quotes.cend())
            noteOther(symbol, quote->price, &*quote);
        m_watch.noteAnswer(symbol, quote != quotes.cend());
    }
}

void AlertDesk::noteOther(const QString &symbol, double price, const StockQuote *quote)
{
    if (symbol == m_state.coinSymbol() || !isPrice(price) ||
        std::ranges::find(m_state.alerts(), symbol, &PriceAlert::symbol) == m_state.alerts().end())
        return;
    if (const auto live = m_watch.take(symbol, price, quote))
        m_state.evaluateAlerts(symbol, *live);
}

void AlertDesk::zonesRebuilt(bool refreshed)
{
    const auto live = m_state.livePrice();
    if (!live || !m_state.verdictStands())
        return;
    followZones(*live);
    tellOfTheLight(refreshed);
}

// The price has been compared with the targets before the zones were rebuilt against it, and a zone that it
// has crossed is another one's place from then on. So a target that is fired, or touched and still silent,
// stays until that is over; it is neither told twice nor lost.
void AlertDesk::followZones(double live)
{
    if (std::ranges::none_of(m_state.alerts(),
                             [](const PriceAlert &alert) { return alert.follows.has_value(); }))
        return;
    std::vector<PriceAlert> alerts = m_state.alerts();
    bool moved = false;
    for (PriceAlert &alert : alerts) {
        if (!alert.follows || alert.symbol != m_state.coinSymbol() || alert.triggered || isHit(alert, live))
            continue;
        const Zone *zone = zoneAt(*alert.follows, m_state.zones());
        if (!zone || zone->mid == alert.targetPrice)
            continue;
        alert.targetPrice = zone->mid;
        alert.label = followedLabel(*alert.follows, fmtP(zone->mid, m_state.decimals()));
        moved = true;
    }
    if (moved)
        m_state.alerts = std::move(alerts);
}

void AlertDesk::tellOfTheLight(bool refreshed)
{
    if (!m_state.zoneNotices() || !m_state.desktopNotices()) {
        m_zoneNotices.forget();
        return;
    }
    const auto side = m_zoneNotices.observe({.selection = m_state.selection(),
                                             .light = m_state.barSignal(),
                                             .supportPct = m_state.nearestBuyDistPct(),
                                             .resistancePct = m_state.nearestSellDistPct(),
                                             .thresholdPct = m_state.signalThreshold(),
                                             .refreshed = refreshed},
                                            m_state.clock().steady());
    if (!side)
        return;
    if (const Zone *zone = zoneAt({.resistance = *side == BarSignal::sell, .rank = 1}, m_state.zones()))
        attention().notify(zoneNotice(*side, m_state.displayName(), fmtP(zone->mid, m_state.decimals()),
                                      std::abs(zone->distPct)));
}

} // namespace kestrune
