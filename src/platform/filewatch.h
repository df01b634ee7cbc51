// SPDX-License-Identifier: MIT
#pragma once

#include <QFileSystemWatcher>
#include <QString>
#include <QTimer>

#include <functional>

namespace kestrune {

/// Tells that a file may have changed, been replaced, come or gone: at most ten times a second, on a later
/// turn of the event loop. Costs nothing while nothing happens in the file's folder.
class FileWatch
{
public:
    FileWatch(QString path, std::function<void()> reaction);

    /// Watches from now on what was not there at the last call.
    void arm();

private:
    QString m_path;
    QFileSystemWatcher m_watcher;
    QTimer m_pause;
};

} // namespace kestrune
