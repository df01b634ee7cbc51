// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktoptheme.h"

#include "statusbar/desktop/portal.h"
#include "statusbar/xsettings.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QPalette>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString settingsPortal = u"Settings"_s;
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

DesktopTheme::DesktopTheme(const QDBusConnection &connection, std::chrono::milliseconds palettePoll)
    : m_connection(connection), m_watcher(portalName, connection, QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_poll, &QTimer::timeout, this, &DesktopTheme::look);
    m_poll.start(palettePoll);
    connect(&m_settings, &ManagerWatch::ownerChanged, this, &DesktopTheme::readTheme);
    connect(&m_settings, &ManagerWatch::valueChanged, this, &DesktopTheme::readTheme);
    readTheme();
    if (!m_connection.isConnected())
        return;
    // Unregistered, the connection below is refused while no portal is there to be asked for its types.
    qRegisterMetaType<QDBusVariant>("QDBusVariant");
    m_connection.connect(portalName, portalPath, portalInterface(settingsPortal), u"SettingChanged"_s, this,
                         SLOT(settingChanged(QString, QString, QDBusVariant)));
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) {
                if (!owner.isEmpty()) // what a portal that goes has said still holds
                    ask();
            });
    ask();
}

void DesktopTheme::ask()
{
    const QDBusMessage call = portalCall(settingsPortal, u"Read"_s, {appearanceGroup, schemeKey});
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call, portalLimitMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply(*watcher);
        if (!reply.isValid())
            return; // no portal, or one without this setting
        setScheme(unwrapped(reply.value().variant()));
    });
}

void DesktopTheme::setBar(const BarColors &bar)
{
    m_bar = bar;
    look();
}

void DesktopTheme::setScheme(uint scheme)
{
    m_prefersDark.reset();
    if (scheme == 1 || scheme == 2) // dark, light; anything else is no preference
        m_prefersDark = scheme == 1;
    if (m_prefersDark)
        m_poll.stop();
    else
        m_poll.start();
    look();
}

void DesktopTheme::readTheme()
{
    const auto name = settingsText(m_settings.value(), "Net/ThemeName");
    m_darkTheme = name ? std::optional(isDarkTheme(*name)) : std::nullopt;
    look();
}

void DesktopTheme::look()
{
    // A light theme says no more of the bar than a light palette does.
    const bool darkPalette = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
    const Appearance now = appearanceOf(m_bar, m_prefersDark, m_darkTheme.value_or(darkPalette));
    if (now == m_appearance)
        return;
    m_appearance = now;
    Q_EMIT changed(now);
}

void DesktopTheme::settingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group == appearanceGroup && key == schemeKey)
        setScheme(unwrapped(value.variant()));
}

} // namespace kestrune
