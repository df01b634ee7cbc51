// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "analysis/priceformat.h"
#include "platform/attention.h"
#include "state/alertdesk.h"
#include "state/alertrules.h"
#include "state/alerttexts.h"
#include "state/zoneplace.h"

#include <QUuid>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

namespace {

const QString byHand = u"手动 "_s; // before the price in the label of an alert that was set by hand

} // namespace

std::vector<PriceAlert> AppState::currentAlerts() const
{
    std::vector<PriceAlert> own;
    std::ranges::copy_if(alerts(), std::back_inserter(own),
                         [this](const PriceAlert &alert) { return alert.symbol == coinSymbol(); });
    return own;
}

bool AppState::alertActive() const
{
    return anyTriggered(alerts(), coinSymbol());
}

bool AppState::hasAlert(double target) const
{
    return std::ranges::any_of(alerts(),
                               [&](const PriceAlert &alert) { return matches(alert, target, coinSymbol()); });
}

std::vector<PriceAlert> AppState::firedAlerts() const
{
    std::vector<PriceAlert> fired;
    std::ranges::copy_if(alerts(), std::back_inserter(fired), &PriceAlert::triggered);
    std::ranges::stable_sort(fired, std::ranges::greater(), &PriceAlert::lastFiredAt);
    return fired;
}

int AppState::firedElsewhere() const
{
    return int(std::ranges::count_if(alerts(), [this](const PriceAlert &alert) {
        return alert.triggered && alert.symbol != coinSymbol();
    }));
}

QString AppState::alertName(const PriceAlert &alert) const
{
    if (!alert.name.isEmpty())
        return alert.name;
    return shownCode(segmentOf(alert.symbol), alert.symbol).toUpper();
}

AlertLog &AppState::alertLog()
{
    return m_alertDesk->log;
}

void AppState::setAway(bool away)
{
    m_alertDesk->setAway(away);
}

void AppState::addAlert(double target, std::optional<QString> label, std::optional<bool> above,
                        std::optional<FollowedZone> follows)
{
    const auto reference = alertReference();
    std::vector<PriceAlert> changed = alerts();
    changed.push_back({.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(),
                       .targetPrice = target,
                       .above = above.value_or(reference && *reference < target),
                       .symbol = coinSymbol(),
                       .label = label ? std::move(*label) : byHand + fmtP(target, decimals()),
                       .triggered = false,
                       .lastFiredAt = std::nullopt,
                       .undirected = !above && !reference,
                       .name = stockQuote() && stockQuote()->symbol == coinSymbol().toLower()
                                   ? stockQuote()->name
                                   : QString(),
                       .follows = follows});
    applyAlerts(std::move(changed));
}

void AppState::toggleZoneAlert(const Zone &zone)
{
    const auto present = std::ranges::find_if(
        alerts(), [&](const PriceAlert &alert) { return matches(alert, zone.mid, coinSymbol()); });
    if (present != alerts().end()) {
        removeAlert(present->id);
        return;
    }
    const bool resistance = zone.type == u"resistance";
    addAlert(zone.mid, (resistance ? u"阻力 "_s : u"支撑 "_s) + fmtP(zone.mid, decimals()), resistance);
}

static auto followerOf(const std::vector<PriceAlert> &alerts, const QString &symbol,
                       const std::optional<FollowedZone> &place)
{
    return std::ranges::find_if(alerts, [&](const PriceAlert &alert) {
        return place && alert.follows == place && alert.symbol == symbol;
    });
}

bool AppState::follows(const Zone &zone) const
{
    return followerOf(alerts(), coinSymbol(), placeOf(zone, zones())) != alerts().end();
}

void AppState::followZone(const Zone &zone)
{
    const auto place = placeOf(zone, zones());
    if (!place)
        return;
    if (const auto present = followerOf(alerts(), coinSymbol(), place); present != alerts().end())
        removeAlert(present->id);
    else
        addAlert(zone.mid, followedLabel(*place, fmtP(zone.mid, decimals())), place->resistance, place);
}

void AppState::moveAlert(const QString &id, double target)
{
    const std::vector<PriceAlert> before = alerts();
    std::vector<PriceAlert> changed = before;
    const auto alert = std::ranges::find(changed, id, &PriceAlert::id);
    if (alert == changed.end())
        return;
    const auto reference = alertReference();
    alert->targetPrice = target;
    alert->above = reference.value_or(target) < target;
    alert->undirected = !reference;
    alert->triggered = false;
    alert->lastFiredAt.reset();
    alert->firedPrice.reset();
    alert->snoozed = false;
    // One that followed a zone stands where it was put from now on.
    if (alert->label.startsWith(byHand) || std::exchange(alert->follows, std::nullopt))
        alert->label = byHand + fmtP(target, decimals());
    applyAlerts(std::move(changed));
    m_alertDesk->withdrawSettled(before);
}

std::optional<double> AppState::alertReference() const
{
    return priceStanding().believed() ? price() : ownZonePrice();
}

void AppState::applyAlerts(std::vector<PriceAlert> changed)
{
    alerts = std::move(changed);
    saveAlerts();
    evaluateAlerts();
}

void AppState::removeAlert(const QString &id)
{
    const std::vector<PriceAlert> before = alerts();
    std::vector<PriceAlert> changed = before;
    std::erase_if(changed, [&](const PriceAlert &alert) { return alert.id == id; });
    alerts = std::move(changed);
    saveAlerts();
    m_alertDesk->withdrawSettled(before);
}

void AppState::restoreAlert(const PriceAlert &alert)
{
    if (std::ranges::find(alerts(), alert.id, &PriceAlert::id) != alerts().end())
        return;
    std::vector<PriceAlert> changed = alerts();
    changed.push_back(alert);
    alerts = std::move(changed);
    saveAlerts();
}

std::optional<PriceAlert> AppState::changeAlert(const QString &id,
                                                const std::function<void(PriceAlert &)> &change)
{
    std::vector<PriceAlert> changed = alerts();
    const auto alert = std::ranges::find(changed, id, &PriceAlert::id);
    if (alert == changed.end())
        return std::nullopt;
    change(*alert);
    PriceAlert now = *alert; // the id given may be one of the list that goes
    alerts = std::move(changed);
    saveAlerts();
    return now;
}

void AppState::dismissAlert(const QString &id, const QString &where)
{
    const double now = epochSeconds(m_dependencies.clock.now());
    if (const auto alert = changeAlert(id, [now](PriceAlert &one) { acknowledge(one, now); }))
        m_alertDesk->acknowledged(alert->id, where);
}

void AppState::snoozeAlert(const QString &id, const QString &where)
{
    const double now = epochSeconds(m_dependencies.clock.now());
    const auto snooze = [now](PriceAlert &alert) {
        acknowledge(alert, now);
        alert.snoozed = true;
    };
    if (const auto alert = changeAlert(id, snooze))
        m_alertDesk->acknowledged(alert->id, where);
}

void AppState::rearmAlert(const QString &id)
{
    const double now = epochSeconds(m_dependencies.clock.now());
    const auto rearm = [&](PriceAlert &alert) {
        const bool atTarget = alert.firedPrice == alert.targetPrice;
        acknowledge(alert, now);
        if (!atTarget) // else it would ring at once, for the touch that has been told
            alert.lastFiredAt.reset();
        alert.above = !alert.above;
        alert.undirected = false;
        if (alert.follows)
            alert.label = u"手动 "_s + alertPriceText(alert.symbol, alert.targetPrice);
        alert.follows.reset(); // beyond its zone there is none to go along with
    };
    if (const auto changed = changeAlert(id, rearm))
        m_alertDesk->acknowledged(changed->id, u"panel"_s);
}

void AppState::showAlertInstrument(const QString &id)
{
    const auto alert = std::ranges::find(alerts(), id, &PriceAlert::id);
    if (alert == alerts().end() || alert->symbol == coinSymbol())
        return;
    const QString symbol = alert->symbol;
    if (const MarketSegment segment = segmentOf(symbol); segment != market())
        setMarket(segment, symbol);
    else
        setCoin(symbol);
}

// An alert that was added before there was anything to compare it with.
void AppState::directAlerts(const QString &symbol, double live)
{
    const auto waits = [&symbol](const PriceAlert &alert) {
        return alert.undirected && alert.symbol == symbol;
    };
    if (std::ranges::none_of(alerts(), waits))
        return;
    std::vector<PriceAlert> changed = alerts();
    for (PriceAlert &alert : changed) {
        if (!waits(alert))
            continue;
        alert.above = live < alert.targetPrice;
        alert.undirected = false;
    }
    alerts = std::move(changed);
    saveAlerts();
}

// deliberate: firing and re-arming are not saved; the stored form changes only with the user's operations.
void AppState::evaluateAlerts()
{
    if (const auto live = livePrice())
        evaluateAlerts(coinSymbol(), *live);
}

void AppState::evaluateAlerts(const QString &symbol, double live)
{
    directAlerts(symbol, live);
    auto result = evaluate(alerts(), symbol, live, epochSeconds(m_dependencies.clock.now()));
    if (!result)
        return;
    alerts = std::move(result->alerts);
    m_alertDesk->ring(result->fired);
    updateAlertLoops();
}

void AppState::addPlanAlerts(const TradePlan &plan)
{
    const bool isLong = plan.dir == TradeDirection::long_;
    if (plan.tp)
        addAlert(*plan.tp, u"止盈 "_s + fmtP(*plan.tp, decimals()), isLong);
    addAlert(plan.sl, u"止损 "_s + fmtP(plan.sl, decimals()), !isLong);
}

void AppState::saveAlerts()
{
    if (settings::storeAlerts(m_dependencies.preferences, m_storedAlerts, alerts()))
        takeStoredAlerts();
    updateAlertLoops();
}

void AppState::takeStoredAlerts()
{
    auto stored = settings::alerts.restored(m_dependencies.preferences);
    if (!stored || *stored == m_storedAlerts)
        return;
    auto merged = mergedAlerts(m_storedAlerts, alerts(), *stored);
    m_storedAlerts = std::move(*stored);
    if (merged == alerts())
        return;
    const std::vector<PriceAlert> before = alerts();
    alerts = std::move(merged);
    m_alertDesk->withdrawSettled(before);
    updateAlertLoops();
}

void AppState::playAlertSound()
{
    // Queued, so that several firings of one pass are over before the one sound starts.
    QMetaObject::invokeMethod(
        this, [this] { m_dependencies.attention.playAlertSound(); }, Qt::QueuedConnection);
}

// The loop runs only while there is something to count: an idle program is never woken for it.
void AppState::updateAlertLoops()
{
    if (!alertPulseTask && alertActive())
        startLoop(alertPulseTask, &AppState::alertPulseLoop);
    m_alertDesk->updateWatch();
}

bool AppState::advanceAlertPulse()
{
    if (alertActive())
        pulsePhase = pulsePhase() + 1;
    else if (pulsePhase() != 0)
        pulsePhase = 0;
    return pulsePhase() != 0;
}

QCoro::Task<> AppState::alertPulseLoop(Weak weak, Clock *clock, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (!co_await clock->sleep(400ms, stop))
            co_return;
        const auto state = weak.lock();
        if (!state)
            co_return;
        if (!state->advanceAlertPulse() && !stop.stop_requested()) {
            state->alertPulseTask.reset();
            co_return;
        }
    }
}

} // namespace kestrune
