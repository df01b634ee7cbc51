// SPDX-License-Identifier: MIT
#include "statusbar/desktop/namewatch.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

NameWatch::NameWatch(const QDBusConnection &connection, const QString &name)
    : m_watcher(name, connection, QDBusServiceWatcher::WatchForOwnerChange)
{
    if (name.isEmpty() || !connection.isConnected())
        return;
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) { setOwner(owner); });
    QDBusConnection bus = connection;
    // When the bus itself ends, no change of a name's owner is announced.
    bus.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s, u"Disconnected"_s,
                this, SLOT(busGone()));
    QDBusMessage call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                       u"org.freedesktop.DBus"_s, u"GetNameOwner"_s);
    call << name;
    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QString> reply(*answer);
        if (reply.isValid() && m_owner.isEmpty())
            setOwner(reply.value());
    });
}

void NameWatch::busGone()
{
    setOwner({});
}

void NameWatch::setOwner(const QString &owner)
{
    if (std::exchange(m_owner, owner) != owner)
        Q_EMIT changed();
}

} // namespace kestrune
