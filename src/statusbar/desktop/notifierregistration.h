// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <chrono>

namespace kestrune {

/// Makes the item known to the watcher and sees to it that it stays so: some hosts drop an item that they
/// fail to read, and say nothing to it.
class NotifierRegistration final : public QObject
{
    Q_OBJECT
public:
    /// `path`: the item's object on the connection.
    NotifierRegistration(const QDBusConnection &connection, const QString &path,
                         std::chrono::milliseconds lookAfter);
    ~NotifierRegistration() override;

    /// Registers with the watcher that is there now; `byPath` instead of by a name that the host would
    /// follow.
    void start(bool byPath);

Q_SIGNALS:
    /// The watcher lists the item, or does not though it was asked several times or does not answer.
    void listedChanged(bool listed);

private Q_SLOTS:
    void lookSoon();

private:
    void ask();
    void look();
    void judge(bool listed, bool answers);
    [[nodiscard]] bool isOurs(const QString &entry) const;

    QDBusConnection m_connection;
    QString m_path;
    QString m_service;
    bool m_byPath = false;
    bool m_listed = true; ///< as announced last; until it is known the best is assumed
    int m_requests = 0;   ///< to this watcher
    QTimer m_look;
};

} // namespace kestrune
