// SPDX-License-Identifier: MIT
#include "statusbar/desktop/notifierwatch.h"

#include "statusbar/desktop/notifiertypes.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>

#include <functional>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int watcherLimitMs = 3000;

QByteArray commandLineOf(uint pid)
{
    QFile file(u"/proc/%1/cmdline"_s.arg(pid));
    return file.open(QIODevice::ReadOnly) ? file.read(4096) : QByteArray();
}

/// Asks the bus itself.
QDBusPendingCall askBus(const QDBusConnection &connection, const QString &member, const QString &name)
{
    QDBusMessage call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                       u"org.freedesktop.DBus"_s, member);
    call << name;
    return connection.asyncCall(call, watcherLimitMs);
}

/// Runs `reaction` with the finished reply while `context` lives.
template <typename T>
void whenAnswered(QObject *context, const QDBusPendingCall &call,
                  std::function<void(const QDBusPendingReply<T> &)> reaction)
{
    auto *watcher = new QDBusPendingCallWatcher(call, context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, reaction = std::move(reaction)] {
                         watcher->deleteLater();
                         reaction(QDBusPendingReply<T>(*watcher));
                     });
}

} // namespace

NotifierWatch::NotifierWatch(const QDBusConnection &connection)
    : m_connection(connection)
    , m_watcher(notifierWatcherName, connection, QDBusServiceWatcher::WatchForOwnerChange)
{
    if (!m_connection.isConnected())
        return;
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) { ownerChanged(owner); });
    for (const QString &signal : {u"StatusNotifierHostRegistered"_s, u"StatusNotifierHostUnregistered"_s})
        m_connection.connect(notifierWatcherName, notifierWatcherPath, notifierWatcherName, signal, this,
                             SLOT(askForHost()));
    // When the bus itself ends, no change of the name's owner is announced.
    m_connection.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s,
                         u"Disconnected"_s, this, SLOT(busGone()));
    askForOwner();
}

std::optional<NotifierHost> NotifierWatch::host() const
{
    return m_hasHost ? m_kind : std::nullopt;
}

void NotifierWatch::askForOwner()
{
    whenAnswered<QString>(this, askBus(m_connection, u"GetNameOwner"_s, notifierWatcherName),
                          [this](const QDBusPendingReply<QString> &reply) {
                              if (reply.isValid() && m_owner.isEmpty())
                                  ownerChanged(reply.value());
                          });
}

void NotifierWatch::busGone()
{
    ownerChanged({});
}

void NotifierWatch::ownerChanged(const QString &owner)
{
    if (owner == m_owner)
        return;
    m_owner = owner;
    m_kind.reset();
    m_hasHost = true;
    ++m_generation;
    if (owner.isEmpty()) {
        Q_EMIT changed();
        return;
    }
    askForKind(owner);
    askForHost();
}

void NotifierWatch::askForKind(const QString &owner)
{
    whenAnswered<uint>(this, askBus(m_connection, u"GetConnectionUnixProcessID"_s, owner),
                       [this, owner](const QDBusPendingReply<uint> &reply) {
                           if (owner != m_owner)
                               return;
                           m_kind =
                               notifierHostOf(reply.isValid() ? commandLineOf(reply.value()) : QByteArray());
                           Q_EMIT changed();
                       });
}

void NotifierWatch::askForHost()
{
    if (m_owner.isEmpty())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(m_owner, notifierWatcherPath,
                                                       u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    call << notifierWatcherName << u"IsStatusNotifierHostRegistered"_s;
    whenAnswered<QVariant>(this, m_connection.asyncCall(call, watcherLimitMs),
                           [this, owner = m_owner](const QDBusPendingReply<QVariant> &reply) {
                               if (owner != m_owner)
                                   return;
                               // A watcher that cannot be asked counts as one with a host.
                               const bool hasHost = !reply.isValid() || reply.value().toBool();
                               if (hasHost == std::exchange(m_hasHost, hasHost) || !m_kind)
                                   return;
                               Q_EMIT changed();
                           });
}

} // namespace kestrune
