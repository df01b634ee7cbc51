// SPDX-License-Identifier: MIT
#include "statusbar/desktop/activation.h"

#include <QGuiApplication>

namespace kestrune {

void useActivationToken(const QString &token)
{
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

} // namespace kestrune
