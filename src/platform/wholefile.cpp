// SPDX-License-Identifier: MIT
#include "platform/wholefile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrune {

namespace {

// The new name of a file is on the disk only with its folder. Some file systems cannot do that; the file is
// whole all the same.
void syncFolderOf(const QString &path)
{
    const Descriptor folder(
        ::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        static_cast<void>(::fsync(folder.get()));
}

} // namespace

Descriptor::~Descriptor()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

FolderLock::FolderLock(const QString &path)
    : m_folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    constexpr int attempts = 200;
    constexpr unsigned long pauseMs = 5;
    for (int i = 0; i < attempts && m_folder.isOpen() && !m_held; ++i) {
        m_held = ::flock(m_folder.get(), LOCK_EX | LOCK_NB) == 0 || (errno != EWOULDBLOCK && errno != EINTR);
        if (!m_held)
            QThread::msleep(pauseMs);
    }
}

FileStamp stampOf(const struct stat &info)
{
    return {static_cast<std::int64_t>(info.st_dev),          static_cast<std::int64_t>(info.st_ino),
            static_cast<std::int64_t>(info.st_size),         static_cast<std::int64_t>(info.st_mtim.tv_sec),
            static_cast<std::int64_t>(info.st_mtim.tv_nsec), static_cast<std::int64_t>(info.st_ctim.tv_sec),
            static_cast<std::int64_t>(info.st_ctim.tv_nsec)};
}

bool createFolder(const QString &path)
{
    if (QFileInfo(path).isDir())
        return true;
    const QString parent = QFileInfo(path).absolutePath();
    if (parent != path && !createFolder(parent))
        return false;
    return ::mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0 || errno == EEXIST;
}

bool writeAll(int fd, const QByteArray &bytes)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t written =
            ::write(fd, bytes.constData() + done, static_cast<std::size_t>(bytes.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

bool replaceFile(const QString &target, const QByteArray &bytes)
{
    // One name for all, safe under the lock: what a killed program left is overwritten, not collected.
    const QByteArray path = QFile::encodeName(target);
    const QByteArray fresh = path + ".new";
    ::unlink(fresh.constData());
    {
        const Descriptor file(::open(fresh.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                     S_IRUSR | S_IWUSR));
        if (!file.isOpen())
            return false;
        if (!writeAll(file.get(), bytes) || ::fsync(file.get()) != 0) {
            ::unlink(fresh.constData());
            return false;
        }
    }
    if (std::rename(fresh.constData(), path.constData()) != 0) {
        ::unlink(fresh.constData());
        return false;
    }
    syncFolderOf(target);
    return true;
}

QString setAside(const QString &path)
{
    const QString base =
        path + QStringLiteral(".broken-") + QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd-HHmmss");
    constexpr int mostNames = 1000;
    for (int i = 0; i < mostNames; ++i) {
        const QString name = i == 0 ? base : base + u'-' + QString::number(i);
        // link() fails where the name is taken, which rename() would overwrite.
        if (::link(QFile::encodeName(path).constData(), QFile::encodeName(name).constData()) == 0)
            return ::unlink(QFile::encodeName(path).constData()) == 0 ? name : QString();
        if (errno == EEXIST)
            continue;
        // No hard links here (FAT, some network folders).
        const bool noLinks = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;
        return noLinks && !QFileInfo::exists(name) && QFile::rename(path, name) ? name : QString();
    }
    return {};
}

} // namespace kestrune
