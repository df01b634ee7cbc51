// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QTemporaryDir>

namespace kestrune::test {

/// A file system of 256 KiB in memory, seen by this process and those that it starts. Only root can make one.
class SmallDisk
{
public:
    SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;
    ~SmallDisk();

    [[nodiscard]] bool isThere() const { return m_mounted; }
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }

    /// Takes all that is left with one file, or gives it back.
    [[nodiscard]] bool fill();
    void makeRoom();
    [[nodiscard]] bool setReadOnly(bool on);

private:
    QTemporaryDir m_folder;
    bool m_mounted = false;
};

} // namespace kestrune::test
