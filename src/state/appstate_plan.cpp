// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "state/planselection.h"
#include "state/sessionwarning.h"

namespace kestrune {

PlanInputs AppState::planInputs() const
{
    return {.settings = {.market = market(),
                         .decimals = decimals(),
                         .accountSize = accountSize(),
                         .riskPctPerTrade = riskPctPerTrade(),
                         .leverage = leverage(),
                         .marginMode = marginMode(),
                         .locale = QLocale::system()},
            .price = price(),
            .zones = zones(),
            .atr = ctxATR(),
            .snapshot = snapshot(),
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
