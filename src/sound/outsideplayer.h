// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryFile>
#include <QTimer>

#include <functional>
#include <memory>

namespace kestrune {

/// Plays a sound with the sound system's own player program. Each call makes a connection of its own to the
/// sound server, so it works again after a restart of that server.
class OutsidePlayer final : public QObject
{
    Q_OBJECT
public:
    /// Whether the sound has started.
    using Started = std::function<void(bool)>;

    /// `resource` names a wave file among the resources.
    explicit OutsidePlayer(QString resource);
    ~OutsidePlayer() override;

    /// A player is at work; it ends on its own or is ended after some seconds.
    [[nodiscard]] bool isBusy() const { return m_process != nullptr; }
    /// Tries the players in turn and reports within about a second. Not to be called while busy.
    void play(Started started);

private:
    void tryNext();
    void ended(bool well);
    void decide(bool started);
    [[nodiscard]] bool writeFile();

    QString m_resource;
    std::unique_ptr<QTemporaryFile> m_file; ///< the resource where others can read it
    std::unique_ptr<QProcess> m_process;
    QStringList m_left; ///< players not tried yet
    Started m_waiting;  ///< until it is known whether the sound has started
    QTimer m_startLimit;
    QTimer m_endLimit;
};

} // namespace kestrune
