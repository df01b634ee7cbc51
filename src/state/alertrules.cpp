// SPDX-License-Identifier: MIT
#include "state/alertrules.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kestrune {

namespace {

constexpr double cooldownSeconds = 120;
constexpr double snoozeSeconds = 600;

enum class Change { none, fires, rearms };

/// What one check does to an alert of the watched instrument.
Change changeOf(const PriceAlert &alert, double price, double now)
{
    if (!isHit(alert, price))
        return alert.triggered ? Change::rearms : Change::none;
    if (alert.triggered)
        return Change::none;
    // A clock that was ahead makes this negative: better told once more than silent for who knows how long.
    const double elapsed = alert.lastFiredAt ? now - *alert.lastFiredAt : std::numeric_limits<double>::max();
    const double wait = alert.snoozed ? snoozeSeconds : cooldownSeconds;
    return elapsed < 0 || elapsed > wait ? Change::fires : Change::none;
}

} // namespace

// Level, not crossing: being there at the moment of the check is enough.
bool isHit(const PriceAlert &alert, double price)
{
    return alert.above ? alert.targetPrice <= price : price <= alert.targetPrice;
}

bool matches(const PriceAlert &alert, double price, QStringView symbol)
{
    return !alert.follows && std::abs(alert.targetPrice - price) < 1e-9 && alert.symbol == symbol;
}

std::optional<AlertEvaluation> evaluate(const std::vector<PriceAlert> &alerts, QStringView symbol,
                                        double price, double now)
{
    if (!std::isfinite(price))
        return std::nullopt;
    const auto changes = [&](const PriceAlert &alert) {
        return alert.symbol == symbol && changeOf(alert, price, now) != Change::none;
    };
    // Nearly every tick changes nothing, and then nothing is copied.
    const auto first = std::find_if(alerts.begin(), alerts.end(), changes);
    if (first == alerts.end())
        return std::nullopt;

    AlertEvaluation result{alerts, {}};
    for (auto alert = result.alerts.begin() + (first - alerts.begin()); alert != result.alerts.end();
         ++alert) {
        if (alert->symbol != symbol)
            continue;
        const Change change = changeOf(*alert, price, now);
        if (change == Change::none)
            continue;
        alert->triggered = change == Change::fires;
        alert->firedPrice.reset();
        if (change == Change::fires) {
            alert->lastFiredAt = now;
            alert->firedPrice = price;
            alert->snoozed = false;
            result.fired.push_back(*alert);
        }
    }
    return result;
}

void acknowledge(PriceAlert &alert, double now)
{
    alert.triggered = false;
    alert.firedPrice.reset();
    alert.snoozed = false;
    alert.lastFiredAt = now;
}

bool anyTriggered(std::span<const PriceAlert> alerts, QStringView symbol)
{
    return std::any_of(alerts.begin(), alerts.end(),
                       [&](const PriceAlert &alert) { return alert.triggered && alert.symbol == symbol; });
}

} // namespace kestrune
