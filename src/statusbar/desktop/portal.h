// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusMessage>
#include <QFile>

namespace kestrune {

/// The desktop's portal: one object that answers for all its interfaces.
inline const QString portalName = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

/// `interface`: the last part of its name.
[[nodiscard]] inline QString portalInterface(const QString &interface)
{
    return QStringLiteral("org.freedesktop.portal.") + interface;
}

[[nodiscard]] inline QDBusMessage portalCall(const QString &interface, const QString &method,
                                             const QVariantList &arguments)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(portalName, portalPath, portalInterface(interface), method);
    call.setArguments(arguments);
    return call;
}

/// Whether this process runs in a sandbox, which only the portal reaches out of.
[[nodiscard]] inline bool insideSandbox()
{
    return QFile::exists(QStringLiteral("/.flatpak-info"));
}

} // namespace kestrune
