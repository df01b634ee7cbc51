// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

namespace kestrune::test {

/// One run of the real program with settings and home of its own. Its environment names no display and a
/// proxy that is not there, so that a request to any host but the loopback gets nowhere.
class BarProcess : public QProcess
{
public:
    BarProcess();

    /// Starts, and serves the event loop until the program has ended; false when it does not.
    [[nodiscard]] bool runToEnd(const QStringList &arguments, int limitMs = 15'000);
    void begin(const QStringList &arguments);

    /// Runs another file than the one that was built.
    void setProgramFile(const QString &file) { m_file = file; }
    void set(const QString &variable, const QString &value);

    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }
    /// Files below the settings folder, relative and sorted.
    [[nodiscard]] QStringList settingsFiles() const;
    /// The summary in the folder `out`; empty when there is none.
    [[nodiscard]] QJsonObject summary() const;
    [[nodiscard]] qint64 elapsedMs() const { return m_elapsedMs; }

private:
    QTemporaryDir m_folder;
    QString m_file;
    qint64 m_elapsedMs = 0;
};

/// The pids whose parent is `parent`.
[[nodiscard]] QList<qint64> childrenOf(qint64 parent);
/// Still runs, and is not merely waiting to be collected.
[[nodiscard]] bool isAlive(qint64 pid);

} // namespace kestrune::test
