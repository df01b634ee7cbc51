// SPDX-License-Identifier: MIT
#pragma once

#include "state/namedcolor.h"
#include "state/timeframesignal.h"
#include "state/tradeplan.h"
#include "ui/palette.h"

#include <optional>
#include <span>

namespace kestrune {

// The colour of what the panel shows. Signals are red for bullish, as Chinese markets have it; the day's
// change is green for a rise.

[[nodiscard]] Tone toneOf(NamedColor color);
/// Green for a rise, no change and no value, red for a fall.
[[nodiscard]] Tone changeTone(std::optional<double> changePct);
/// Of a zone's distance: red at or above the price, green below.
[[nodiscard]] Tone distanceTone(double distPct);
/// Red for both bullish signals, green for both bearish ones, orange between.
[[nodiscard]] Tone signalTone(SignalType signal);
/// The colour of the conclusion: that of the last signal, secondary without signals.
[[nodiscard]] Tone conclusionTone(std::span<const TimeframeSignal> snapshot);
/// Bullish red, bearish green.
[[nodiscard]] Tone directionTone(TradeDirection direction);
/// A good plan in the colour of its direction, a fair one orange, a poor one
/// secondary.
[[nodiscard]] Tone planTone(const TradePlan &plan);

} // namespace kestrune
