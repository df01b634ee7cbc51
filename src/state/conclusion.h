// SPDX-License-Identifier: MIT
#pragma once

#include "state/timeframesignal.h"

#include <span>

namespace kestrune {

/// One line for the three signals in label order (short, middle, long); "数据加载中…" unless there are three.
[[nodiscard]] QString buildConclusion(std::span<const TimeframeSignal> signalList);

/// Signed balance of bullish over bearish signals.
[[nodiscard]] int bullishBalance(std::span<const TimeframeSignal> signalList);

} // namespace kestrune
