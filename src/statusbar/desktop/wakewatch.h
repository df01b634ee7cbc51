// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

namespace kestrune {

/// Announces what makes the shown data old between two refreshes: the machine slept, the network came or
/// became another, the user unlocked the screen. Only listens: nothing is asked, awaited or started for it.
class WakeWatch : public QObject
{
    Q_OBJECT
public:
    WakeWatch(const QDBusConnection &systemBus, const QDBusConnection &sessionBus);

Q_SIGNALS:
    /// May come several times for one event.
    void resumed();
    /// Whether the machine is about to sleep or the screen is locked; after resumed(), when it is over.
    void awayChanged(bool away);

private Q_SLOTS:
    void sleepAnnounced(bool begins) { noteAway(m_asleep, begins); }
    void screenAnnounced(bool locked) { noteAway(m_locked, locked); }
    void lock() { noteAway(m_locked, true); }
    void unlock() { noteAway(m_locked, false); }
    void propertiesChanged(const QDBusMessage &message);

private:
    void noteAway(bool &reason, bool begins);

    bool m_asleep = false, m_locked = false;
};

} // namespace kestrune
