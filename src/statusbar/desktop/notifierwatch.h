// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/desktop/namewatch.h"
#include "statusbar/presentation.h"

#include <QDBusConnection>
#include <QObject>

#include <optional>

namespace kestrune {

/// Follows the owner of the status notifier watcher's name and what kind of host it is.
class NotifierWatch : public QObject
{
    Q_OBJECT
public:
    explicit NotifierWatch(const QDBusConnection &connection);

    /// The host's kind; nothing while there is no watcher or no host behind it.
    [[nodiscard]] std::optional<NotifierHost> host() const;
    /// Counts the watchers seen: an item registers once with each.
    [[nodiscard]] int generation() const { return m_generation; }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void askForHost();

private:
    void ownerChanged();
    void askForKind();

    QDBusConnection m_connection;
    NameWatch m_watcher;
    std::optional<NotifierHost> m_kind;
    bool m_hasHost = true;
    int m_generation = 0;
};

} // namespace kestrune
