// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>

struct stat;

namespace kestrune {

// What it takes to change a file that several running programs share, so that it is whole at any moment.

/// Closes what it holds.
class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor();
    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }

private:
    int m_fd;
};

/// A lock on the folder itself: no lock file that could stay behind. Waits for it for a second at most. Not
/// held when the folder cannot be opened or another program holds on to it; where a file system knows no
/// locks, the write goes on without.
class FolderLock
{
public:
    explicit FolderLock(const QString &path);
    [[nodiscard]] bool isHeld() const { return m_held; }

private:
    Descriptor m_folder;
    bool m_held = false;
};

/// Device, inode, size and the two times that a change moves; all zero for a missing file.
using FileStamp = std::array<std::int64_t, 7>;
[[nodiscard]] FileStamp stampOf(const struct stat &info);

/// Makes the folder, and those above it, for their owner alone.
[[nodiscard]] bool createFolder(const QString &path);
[[nodiscard]] bool writeAll(int fd, const QByteArray &bytes);
/// Puts a file for its owner alone in the place of the one at `target`, in one step; under the folder's lock.
[[nodiscard]] bool replaceFile(const QString &target, const QByteArray &bytes);
/// Renames a file that cannot be read. Where to; nothing when it could not be moved.
[[nodiscard]] QString setAside(const QString &path);

} // namespace kestrune
