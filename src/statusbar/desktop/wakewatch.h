// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QObject>

namespace kestrune {

/// Announces what makes the shown data old between two refreshes: the machine slept, or the network came
/// back.
class WakeWatch : public QObject
{
    Q_OBJECT
public:
    explicit WakeWatch(const QDBusConnection &systemBus);

Q_SIGNALS:
    void awake();

private Q_SLOTS:
    void prepareForSleep(bool begins);

private:
    void watchNetwork();

    bool m_reachable = true;
};

} // namespace kestrune
