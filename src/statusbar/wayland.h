// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

/// Whether our windows are Wayland's own; false under XWayland.
[[nodiscard]] bool isWayland();
/// Whether windows are shown by XWayland in GNOME's shell, which gives the keyboard to managed windows only.
[[nodiscard]] bool isGnomeXWayland();

/// Keeps the permission that another program gave for our next window to take the focus. Only Wayland asks
/// for one; there the toolkit takes it from the environment and removes it.
void useActivationToken(const QString &token);

} // namespace kestrune
