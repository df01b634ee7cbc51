// SPDX-License-Identifier: MIT
#include "state/barsignal.h"

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace kestrune {

std::optional<double> nearestDistPct(std::span<const Zone> zones, QStringView type)
{
    std::optional<double> nearest;
    for (const Zone &zone : zones) {
        // A distance that is not a number is near nothing.
        if (zone.type != type || std::isnan(zone.distPct))
            continue;
        if (!nearest || std::abs(zone.distPct) < std::abs(*nearest))
            nearest = zone.distPct;
    }
    return nearest;
}

BarSignal barSignal(std::optional<double> buyDistPct, std::optional<double> sellDistPct, double thresholdPct)
{
    constexpr double nowhere = std::numeric_limits<double>::infinity();
    const double buy = buyDistPct.value_or(nowhere);
    const double sell = sellDistPct.value_or(nowhere);
    if (buy <= thresholdPct && buy <= sell)
        return BarSignal::buy;
    if (sell < buy && sell <= thresholdPct)
        return BarSignal::sell;
    return BarSignal::neutral;
}

QString statusSymbol(BarSignal signal)
{
    switch (signal) {
    case BarSignal::buy:
        return u"chevron.down.circle.fill"_s;
    case BarSignal::sell:
        return u"chevron.up.circle.fill"_s;
    case BarSignal::neutral:
        break;
    }
    return u"circle.fill"_s;
}

NamedColor statusColor(BarSignal signal)
{
    // deliberate: a traffic light, although red means rising everywhere else
    switch (signal) {
    case BarSignal::buy:
        return NamedColor::green;
    case BarSignal::sell:
        return NamedColor::red;
    case BarSignal::neutral:
        break;
    }
    return NamedColor::secondary;
}

QString statusText(BarSignal signal)
{
    switch (signal) {
    case BarSignal::buy:
        return u"接近支撑区 · 偏买入"_s;
    case BarSignal::sell:
        return u"接近阻力区 · 偏卖出"_s;
    case BarSignal::neutral:
        break;
    }
    return u"中间区域 · 观望"_s;
}

} // namespace kestrune
