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

private Q_SLOTS:
    void endsWithFalse(bool begins); ///< of a sleep or a locked screen
    void propertiesChanged(const QDBusMessage &message);
};

} // namespace kestrune
