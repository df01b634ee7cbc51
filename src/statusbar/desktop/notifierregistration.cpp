// SPDX-License-Identifier: MIT
#include "statusbar/desktop/notifierregistration.h"

#include "statusbar/desktop/notifiertypes.h"
#include "statusbar/desktop/portal.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <algorithm>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int mostRequests = 3; // a host that drops the item again and again is left alone
constexpr int listLimitMs = 2000;

/// Inside a sandbox that of the connection: the process number is the same in each, and no other name need be
/// allowed.
QString itemServiceName(const QDBusConnection &connection)
{
    return insideSandbox() ? connection.baseService()
                           : u"org.kde.StatusNotifierItem-%1-1"_s.arg(QCoreApplication::applicationPid());
}

} // namespace

NotifierRegistration::NotifierRegistration(const QDBusConnection &connection, const QString &path,
                                           std::chrono::milliseconds lookAfter)
    : m_connection(connection), m_path(path), m_service(itemServiceName(connection))
{
    m_look.setSingleShot(true);
    m_look.setInterval(lookAfter);
    connect(&m_look, &QTimer::timeout, this, &NotifierRegistration::look);
    for (const QString &signal : {u"StatusNotifierItemRegistered"_s, u"StatusNotifierItemUnregistered"_s})
        m_connection.connect(notifierWatcherName, notifierWatcherPath, notifierWatcherName, signal, this,
                             SLOT(lookSoon()));
}

NotifierRegistration::~NotifierRegistration()
{
    m_connection.unregisterService(m_service); // the host drops the item
}

void NotifierRegistration::start(bool byPath)
{
    m_byPath = byPath;
    m_requests = 0;
    // Only where it is registered by its name may an item have one: its end must be the end of the item.
    if (!byPath)
        m_connection.registerService(m_service);
    ask();
}

void NotifierRegistration::ask()
{
    ++m_requests;
    QDBusMessage message = QDBusMessage::createMethodCall(
        notifierWatcherName, notifierWatcherPath, notifierWatcherName, u"RegisterStatusNotifierItem"_s);
    message << (m_byPath ? m_path : m_service);
    m_connection.asyncCall(message);
    m_look.start();
}

void NotifierRegistration::lookSoon()
{
    if (m_requests > 0 && !m_look.isActive()) // one look for all items that come and go at log-in
        m_look.start();
}

void NotifierRegistration::look()
{
    QDBusMessage call = QDBusMessage::createMethodCall(notifierWatcherName, notifierWatcherPath,
                                                       u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    call << notifierWatcherName << u"RegisteredStatusNotifierItems"_s;
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call, listLimitMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply(*watcher);
        if (!reply.isValid()) {
            // A watcher without the list is trusted, one that hangs shows nothing.
            const bool hangs = reply.error().type() == QDBusError::NoReply ||
                               reply.error().type() == QDBusError::TimedOut ||
                               reply.error().type() == QDBusError::Timeout;
            judge(!hangs, false);
            return;
        }
        const QStringList entries = reply.value().variant().toStringList();
        judge(std::any_of(entries.begin(), entries.end(),
                          [this](const QString &entry) { return isOurs(entry); }),
              true);
    });
}

bool NotifierRegistration::isOurs(const QString &entry) const
{
    // Hosts write "name", "name/path" or "name@/path", with the name that was given or the connection's own.
    const auto begins = [&entry](const QString &name) {
        return !name.isEmpty() && entry.startsWith(name) &&
               (entry.size() == name.size() || !entry.at(name.size()).isLetterOrNumber());
    };
    return begins(m_service) || begins(m_connection.baseService());
}

void NotifierRegistration::judge(bool listed, bool answers)
{
    if (!listed && answers && m_requests < mostRequests) {
        ask();
        return;
    }
    if (std::exchange(m_listed, listed) != listed)
        Q_EMIT listedChanged(listed);
}

} // namespace kestrune
