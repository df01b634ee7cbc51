// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "state/planselection.h"
#include "state/sessionwarning.h"

namespace kestrune {

// Without an own, fresh price and own, fresh zones there are none, and from none comes no plan.
PlanInputs AppState::planInputs() const
{
    const auto live = zonesStanding().fresh() ? livePrice() : std::nullopt;
    const bool signalsStand = signalsStanding().fresh();
    return {.settings = {.market = market(),
                         .decimals = decimals(),
                         .accountSize = accountSize(),
                         .riskPctPerTrade = riskPctPerTrade(),
                         .leverage = leverage(),
                         .marginMode = marginMode(),
                         .locale = QLocale::system()},
            .price = live,
            .zones = live ? std::span(zones()) : std::span<const Zone>(),
            .atr = liveATR(),
            .snapshot = signalsStand ? std::span(snapshot()) : std::span<const TimeframeSignal>(),
            .sessionWarning = sessionWarning()};
}

std::optional<QString> AppState::sessionWarning() const
{
    return kestrune::sessionWarning(market(), m_dependencies.clock.now());
}

std::optional<TradePlan> AppState::tradePlan() const
{
    return kestrune::tradePlan(planInputs());
}

std::optional<TradePlan> AppState::planForEntry(double entry, TradeDirection dir) const
{
    return kestrune::planForEntry(planInputs(), entry, dir);
}

} // namespace kestrune
