// SPDX-License-Identifier: MIT
#include "kill/smalldisk.h"

#include <QFile>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace kestrune::test {

namespace {

constexpr const char *size = "size=256k";

} // namespace

SmallDisk::SmallDisk()
{
    // A name space of our own: nobody else sees the disk, and it goes with the process whatever happens.
    static const bool apart =
        ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    m_mounted = apart && ::mount("tmpfs", QFile::encodeName(m_folder.path()).constData(), "tmpfs", MS_NODEV,
                                 size) == 0;
}

SmallDisk::~SmallDisk()
{
    if (m_mounted)
        ::umount2(QFile::encodeName(m_folder.path()).constData(), MNT_DETACH);
}

bool SmallDisk::fill()
{
    const int file = ::open(QFile::encodeName(path(QStringLiteral("ballast"))).constData(),
                            O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    const std::array<char, 4096> page{};
    while (::write(file, page.data(), page.size()) > 0) {
    }
    const bool full = errno == ENOSPC;
    ::close(file);
    return full;
}

void SmallDisk::makeRoom()
{
    QFile::remove(path(QStringLiteral("ballast")));
}

bool SmallDisk::setReadOnly(bool on)
{
    unsigned long flags = MS_REMOUNT | MS_NODEV;
    if (on)
        flags |= MS_RDONLY;
    return ::mount("tmpfs", QFile::encodeName(m_folder.path()).constData(), "tmpfs", flags, size) == 0;
}

} // namespace kestrune::test
