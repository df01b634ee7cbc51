// SPDX-License-Identifier: MIT
#pragma once

#include "chart/chartcontent.h"

namespace kestrune {

class AppState;

/// What the chart shows of the state at this moment: the zones as the panel lists them, the plan as its
/// banner tells it. No candles, and the reason, unless they are the selected instrument's and timeframe's.
[[nodiscard]] ChartContent chartContent(const AppState &state);

} // namespace kestrune
