// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "analysis/priceformat.h"
#include "platform/attention.h"
#include "state/alertrules.h"

#include <QUuid>

#include <algorithm>

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

void AppState::addAlert(double target, std::optional<QString> label, std::optional<bool> above)
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
                       .undirected = !above && !reference});
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

void AppState::moveAlert(const QString &id, double target)
{
    std::vector<PriceAlert> changed = alerts();
    const auto alert = std::ranges::find(changed, id, &PriceAlert::id);
    if (alert == changed.end())
        return;
    const auto reference = alertReference();
    alert->targetPrice = target;
    alert->above = reference.value_or(target) < target;
    alert->undirected = !reference;
    alert->triggered = false;
    alert->lastFiredAt.reset();
    if (alert->label.startsWith(byHand))
        alert->label = byHand + fmtP(target, decimals());
    applyAlerts(std::move(changed));
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
    std::vector<PriceAlert> changed = alerts();
    std::erase_if(changed, [&](const PriceAlert &alert) { return alert.id == id; });
    alerts = std::move(changed);
    saveAlerts();
}

void AppState::dismissAlert(const QString &id)
{
    std::vector<PriceAlert> changed = alerts();
    const auto alert = std::ranges::find(changed, id, &PriceAlert::id);
    if (alert == changed.end())
        return;
    alert->triggered = false;
    alert->lastFiredAt = epochSeconds(m_dependencies.clock.now()); // starts the cooldown
    alerts = std::move(changed);
    saveAlerts();
}

// An alert that was added before there was anything to compare it with.
void AppState::directAlerts(double live)
{
    const auto waits = [this](const PriceAlert &alert) {
        return alert.undirected && alert.symbol == coinSymbol();
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
    const auto live = livePrice();
    if (!live)
        return;
    directAlerts(*live);
    auto result = evaluate(alerts(), coinSymbol(), *live, epochSeconds(m_dependencies.clock.now()));
    if (!result)
        return;
    alerts = std::move(result->alerts);
    if (result->fired)
        playAlertSound();
    startAlertPulseIfNeeded();
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
    alerts = std::move(merged);
    startAlertPulseIfNeeded();
}

void AppState::playAlertSound()
{
    // Queued, so that several firings of one pass are over before the one sound starts.
    QMetaObject::invokeMethod(
        this, [this] { m_dependencies.attention.playAlertSound(); }, Qt::QueuedConnection);
}

// The loop runs only while there is something to count: an idle program is never woken for it.
void AppState::startAlertPulseIfNeeded()
{
    if (!alertPulseTask && alertActive())
        startLoop(alertPulseTask, &AppState::alertPulseLoop);
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
