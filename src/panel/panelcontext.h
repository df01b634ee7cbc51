// SPDX-License-Identifier: MIT
#pragma once

#include "panel/epochclock.h"
#include "state/appstate.h"

#include <QUrl>

#include <functional>

namespace kestrune {

/// What every section of the panel is given. The state outlives the sections.
struct PanelContext
{
    AppState &state;
    EpochClock clock;                          ///< phase of pulsing drawings
    std::function<void(const QUrl &)> openUrl; ///< shows an address in the browser
};

/// The panel's width, its margin, its stack spacing, and the spacings inside a block and inside a row.
inline constexpr int panelWidth = 320;
inline constexpr int panelMargin = 14;
inline constexpr int stackSpacing = 12;
inline constexpr int blockSpacing = 6;
inline constexpr int rowSpacing = 8;

} // namespace kestrune
