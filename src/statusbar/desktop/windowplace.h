// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>

#include <optional>

class QWidget;

namespace kestrune {

/// Where the X server has the widget's window, global and logical. The toolkit's own idea is wrong inside a
/// tray, and outside one when a window manager is slow. Nothing without X11.
[[nodiscard]] std::optional<QRect> serverPlace(const QWidget &widget);

/// Asks window managers to list the window in no taskbar; to be said before each time it is shown.
void keepOffTaskbars(QWidget &widget);

} // namespace kestrune
