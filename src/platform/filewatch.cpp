// SPDX-License-Identifier: MIT
#include "platform/filewatch.h"

#include <QFileInfo>

#include <utility>

namespace kestrune {

FileWatch::FileWatch(QString path, std::function<void()> reaction) : m_path(std::move(path))
{
    using namespace std::chrono_literals;
    m_pause.setSingleShot(true);
    m_pause.setInterval(100ms);
    QObject::connect(&m_pause, &QTimer::timeout, &m_pause, [this, reaction = std::move(reaction)] {
        arm(); // a file that was replaced is another one
        reaction();
    });
    // Not begun anew by each event, so that a program that writes without end cannot put it off for ever.
    const auto noticed = [this] {
        if (!m_pause.isActive())
            m_pause.start();
    };
    QObject::connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_pause, noticed);
    QObject::connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_pause, noticed);
    arm();
}

void FileWatch::arm()
{
    const QString folder = QFileInfo(m_path).path();
    if (m_watcher.directories().isEmpty() && QFileInfo::exists(folder))
        m_watcher.addPath(folder);
    if (m_watcher.files().isEmpty() && QFileInfo::exists(m_path))
        m_watcher.addPath(m_path);
}

} // namespace kestrune
