// SPDX-License-Identifier: MIT
#include "statusbar/desktop/wakewatch.h"

#include "statusbar/desktop/portal.h"

#include <QDBusArgument>
#include <QDBusObjectPath>

#include <algorithm>
#include <array>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString logind = u"org.freedesktop.login1"_s;
const QString networkManager = u"org.freedesktop.NetworkManager"_s;
constexpr uint connectedSite = 60;   // NetworkManager's states from here on reach beyond the machine
constexpr uint connectivityNone = 1; // 0 is unknown, above are kinds of a network

/// A property, as far as it changes what is to be fetched, and the test for its change to the better.
struct Watched
{
    const char *name;
    bool (*helps)(const QVariant &value);
};
constexpr std::array watchedProperties{
    Watched{"State", [](const QVariant &state) { return state.toUInt() >= connectedSite; }},
    Watched{"Connectivity", [](const QVariant &kind) { return kind.toUInt() != connectivityNone; }},
    Watched{"PrimaryConnection",
            [](const QVariant &path) { return path.value<QDBusObjectPath>().path() != "/"_L1; }},
};

} // namespace

WakeWatch::WakeWatch(const QDBusConnection &systemBus, const QDBusConnection &sessionBus)
{
    const QString properties = u"org.freedesktop.DBus.Properties"_s;
    const QString session = logind + u".Session"_s;
    if (QDBusConnection bus = systemBus; bus.isConnected()) {
        bus.connect(logind, u"/org/freedesktop/login1"_s, logind + u".Manager"_s, u"PrepareForSleep"_s, this,
                    SLOT(sleepAnnounced(bool)));
        // Of whichever session: which one is ours cannot be told in every desktop, and a refresh costs
        // little.
        bus.connect(logind, {}, session, u"Lock"_s, this, SLOT(lock()));
        bus.connect(logind, {}, session, u"Unlock"_s, this, SLOT(unlock()));
        bus.connect(logind, {}, properties, u"PropertiesChanged"_s, {session}, {}, this,
                    SLOT(propertiesChanged(QDBusMessage)));
        bus.connect(networkManager, u"/org/freedesktop/NetworkManager"_s, properties, u"PropertiesChanged"_s,
                    {networkManager}, {}, this, SLOT(propertiesChanged(QDBusMessage)));
    }
    if (QDBusConnection bus = sessionBus; bus.isConnected()) {
        bus.connect(portalName, portalPath, portalInterface(u"NetworkMonitor"_s), u"changed"_s, this,
                    SIGNAL(resumed()));
        for (const auto desktop : {"freedesktop"_L1, "gnome"_L1, "xfce"_L1, "cinnamon"_L1, "mate"_L1})
            bus.connect({}, {}, "org."_L1 + desktop + ".ScreenSaver"_L1, u"ActiveChanged"_s, this,
                        SLOT(screenAnnounced(bool)));
    }
}

void WakeWatch::noteAway(bool &reason, bool begins)
{
    if (!begins)
        Q_EMIT resumed();
    reason = begins;
    Q_EMIT awayChanged(m_asleep || m_locked);
}

void WakeWatch::propertiesChanged(const QDBusMessage &message)
{
    const auto values = qdbus_cast<QVariantMap>(message.arguments().value(1));
    const bool helps = std::ranges::any_of(watchedProperties, [&values](const Watched &property) {
        const auto value = values.constFind(QLatin1String(property.name));
        return value != values.cend() && property.helps(*value);
    });
    if (const auto locked = values.constFind(u"LockedHint"_s); locked != values.cend())
        screenAnnounced(locked->toBool());
    else if (helps)
        Q_EMIT resumed();
}

} // namespace kestrune
