// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>
#include <QStringList>

#include <optional>

namespace kestrune {

/// Shows messages through the desktop's notification service, and inside a sandbox through its portal. All of
/// it is asynchronous; where nobody shows messages, nothing happens.
class DesktopNotices : public QObject
{
    Q_OBJECT
public:
    enum class Way { service, portal };
    /// The way that is open to this process.
    [[nodiscard]] static Way usualWay();

    /// More messages than this at once are not shown: the panel and the log have them all.
    static constexpr int mostNotices = 32;

    DesktopNotices(const QDBusConnection &connection, Way way);

    void show(const Notice &notice);
    void withdraw(const QString &id);

Q_SIGNALS:
    void chosen(const QString &id, kestrune::NoticeChoice choice);

private Q_SLOTS:
    void serviceActed(uint number, const QString &action);
    void serviceClosed(uint number);
    void serviceActivates(uint number, const QString &token);
    void portalActed(const QString &id, const QString &action);

private:
    /// What is wanted of a message, and what the service knows of it.
    struct Shown
    {
        std::optional<Notice> wanted; ///< absent when it is to be closed
        bool due = false;             ///< not yet sent as wanted
        bool underWay = false;        ///< its answer is awaited
        bool again = false;           ///< sent a second time, to the service's successor
        uint number = 0;              ///< the service's for it; 0 before its first answer
    };

    void advance();
    void advance(const QString &id);
    void askCapabilities();
    void send(const QString &id, Shown &shown);
    void sent(const QString &id, const QDBusMessage &answer);
    void ownerChanged();
    void act(const QString &id, const QString &action);
    void toPortal(const Notice &notice);
    [[nodiscard]] QString idOf(uint number) const;

    QDBusConnection m_connection;
    Way m_way;
    QDBusServiceWatcher m_watcher;
    std::optional<QStringList> m_capabilities; ///< of the service's present owner
    bool m_asking = false;
    QHash<QString, Shown> m_shown;
};

} // namespace kestrune
