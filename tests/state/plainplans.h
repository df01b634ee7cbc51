// SPDX-License-Identifier: MIT
#pragma once

#include "state/planselection.h"

namespace kestrune::test {

// A second selection, written as one would tell it: sorted copies, and a finished plan for each candidate. To
// compare results with, and to measure against.

[[nodiscard]] std::optional<TradePlan> plainTradePlan(const PlanInputs &inputs);
[[nodiscard]] std::optional<TradePlan> plainPlanForEntry(const PlanInputs &inputs, double e,
                                                         TradeDirection dir);

} // namespace kestrune::test
