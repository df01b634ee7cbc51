// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

namespace kestrune {

/// Green near support, red near resistance, orange for an alert: 0xRRGGBB.
struct SignalColors
{
    quint32 green, red, orange;
};

// As they read best on the bar's ground.
inline constexpr SignalColors signalsOnDark{0x32D15B, 0xFF5A50, 0xFF9F0A};
inline constexpr SignalColors signalsOnLight{0x17803A, 0xC9281E, 0xA85800};

} // namespace kestrune
