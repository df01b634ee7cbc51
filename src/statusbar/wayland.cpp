// SPDX-License-Identifier: MIT
#include "statusbar/wayland.h"

#include <QGuiApplication>

namespace kestrune {

bool isWayland()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

bool isGnomeXWayland()
{
    return !isWayland() && qEnvironmentVariableIsSet("WAYLAND_DISPLAY") &&
           qgetenv("XDG_CURRENT_DESKTOP").split(':').contains("GNOME");
}

void useActivationToken(const QString &token)
{
    if (!token.isEmpty() && isWayland())
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

} // namespace kestrune
