// SPDX-License-Identifier: MIT
#pragma once

#include "line/barrecord.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QTimer>
#include <QVariantList>

#include <chrono>
#include <functional>

namespace kestrune {

/// Follows the running bar of the same user over the session's bus: asks it when it says that something has
/// changed, and never starts one.
class BarClient final : public QObject
{
    Q_OBJECT
public:
    struct Limits
    {
        std::chrono::milliseconds answer = std::chrono::seconds(5);
        /// After this long without a word it is asked whether it still answers.
        std::chrono::milliseconds silence = std::chrono::seconds(60);
    };

    explicit BarClient(const QDBusConnection &connection) : BarClient(connection, Limits()) {}
    BarClient(const QDBusConnection &connection, Limits limits);

    /// Either signal follows, gone() perhaps at once.
    void start();
    /// Whether the bar was there at the last look.
    [[nodiscard]] bool isFollowing() const { return m_following; }
    /// Asks the bar to do something; nobody hears whether it did.
    void call(const QString &method, const QVariantList &arguments = {}) const;

Q_SIGNALS:
    void told(const kestrune::BarRecord &record);
    /// There is no bar, or none that answers. It is followed again as soon as it says something.
    void gone();

private Q_SLOTS:
    void ask();

private:
    void look();
    void take(const QDBusPendingCall &answer);
    void lose();
    void send(const QDBusMessage &message, std::function<void(const QDBusPendingCall &)> answered);

    QDBusConnection m_connection;
    Limits m_limits;
    QDBusServiceWatcher m_watcher;
    QTimer m_silence;
    bool m_following = false;
    bool m_asking = false;
    bool m_askAgain = false; ///< it has changed while it was asked
};

} // namespace kestrune
