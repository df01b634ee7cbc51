// SPDX-License-Identifier: MIT
#include "panel/tones.h"

namespace kestrune {

Tone toneOf(NamedColor color)
{
    switch (color) {
    case NamedColor::red:
        return Tone::red;
    case NamedColor::green:
        return Tone::green;
    case NamedColor::orange:
        return Tone::orange;
    case NamedColor::secondary:
        break;
    }
    return Tone::secondary;
}

Tone changeTone(std::optional<double> changePct)
{
    return !changePct || *changePct >= 0 ? Tone::green : Tone::red;
}

Tone distanceTone(double distPct)
{
    return distPct >= 0 ? Tone::red : Tone::green;
}

Tone signalTone(SignalType signal)
{
    if (isBull(signal))
        return Tone::red;
    return isBear(signal) ? Tone::green : Tone::orange;
}

Tone conclusionTone(std::span<const TimeframeSignal> snapshot)
{
    return snapshot.empty() ? Tone::secondary : signalTone(snapshot.back().signal);
}

Tone directionTone(TradeDirection direction)
{
    return direction == TradeDirection::long_ ? Tone::red : Tone::green;
}

Tone planTone(const TradePlan &plan)
{
    switch (plan.grade) {
    case PlanGrade::good:
        return directionTone(plan.dir);
    case PlanGrade::fair:
        return Tone::orange;
    case PlanGrade::poor:
        return Tone::secondary;
    }
    Q_UNREACHABLE();
}

} // namespace kestrune
