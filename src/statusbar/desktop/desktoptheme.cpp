// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktoptheme.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QPalette>

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString portalName = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString settingsInterface = u"org.freedesktop.portal.Settings"_s;
const QString appearanceGroup = u"org.freedesktop.appearance"_s;
const QString schemeKey = u"color-scheme"_s;
constexpr int portalLimitMs = 5000; // a portal that is started for us takes a while

/// The number inside however many variants.
uint unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt();
}

} // namespace

DesktopTheme::DesktopTheme(const QDBusConnection &connection)
    : m_connection(connection), m_watcher(portalName, connection, QDBusServiceWatcher::WatchForOwnerChange)
{
    if (!m_connection.isConnected())
        return;
    // Unregistered, the connection below is refused while no portal is there to be asked for its types.
    qRegisterMetaType<QDBusVariant>("QDBusVariant");
    m_connection.connect(portalName, portalPath, settingsInterface, u"SettingChanged"_s, this,
                         SLOT(settingChanged(QString, QString, QDBusVariant)));
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) {
                if (owner.isEmpty())
                    setAnnounces(false); // what it said last still holds
                else
                    ask();
            });
    ask();
}

void DesktopTheme::ask()
{
    QDBusMessage call = QDBusMessage::createMethodCall(portalName, portalPath, settingsInterface, u"Read"_s);
    call << appearanceGroup << schemeKey;
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call, portalLimitMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply(*watcher);
        if (!reply.isValid())
            return; // no portal, or one without this setting
        setScheme(unwrapped(reply.value().variant()));
        setAnnounces(true);
    });
}

void DesktopTheme::setAnnounces(bool announces)
{
    if (std::exchange(m_portalAnswers, announces) != announces)
        Q_EMIT announcesChanged();
}

void DesktopTheme::setScheme(uint scheme)
{
    std::optional<bool> dark;
    if (scheme == 1 || scheme == 2) // dark, light; anything else is no preference
        dark = scheme == 1;
    if (std::exchange(m_prefersDark, dark) != dark)
        Q_EMIT changed();
}

void DesktopTheme::settingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group == appearanceGroup && key == schemeKey)
        setScheme(unwrapped(value.variant()));
}

std::optional<QColor> DesktopTheme::trayTextColor() const
{
    if (const auto color = m_barTextColor ? m_barTextColor() : std::nullopt)
        return color;
    // Black on a bar that is dark as they come could not be read; who has chosen light desktops gets that.
    if (!m_prefersDark && m_barIsUsuallyDark && m_barIsUsuallyDark())
        return QColor(Qt::white);
    return std::nullopt;
}

bool DesktopTheme::paletteIsDark() const
{
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

} // namespace kestrune
