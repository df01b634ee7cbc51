// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

namespace kestrune {

class Preferences;

/// Running without a window and the start at log-in, as a program in a sandbox asks its desktop for them.
class BackgroundPortal final : public QObject
{
    Q_OBJECT
public:
    /// `preferences` outlives it.
    BackgroundPortal(const QDBusConnection &connection, Preferences &preferences);

    /// As the desktop granted it last, which cannot be asked for.
    [[nodiscard]] bool startsAtLogin() const;
    /// Asks for both; the user may be asked in turn. One request at a time: others meanwhile are dropped.
    void request(bool startAtLogin);

Q_SIGNALS:
    /// The request is over; `done`: startsAtLogin() is what it asked for.
    void answered(bool done);

private Q_SLOTS:
    void responded(uint code, const QVariantMap &results);

private:
    void end();

    QDBusConnection m_connection;
    Preferences &m_preferences;
    bool m_asked = false; ///< by the request under way
    bool m_underWay = false;
};

} // namespace kestrune
