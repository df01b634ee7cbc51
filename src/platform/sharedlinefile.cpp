// SPDX-License-Identifier: MIT
#include "platform/sharedlinefile.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrune {

namespace {

/// Not a folder or a pipe, on which reading might wait for ever.
bool isFile(int fd, struct stat &info)
{
    return ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

bool endsWithALine(int fd, qint64 size)
{
    char last = '\n';
    return size == 0 || (::pread(fd, &last, 1, size - 1) == 1 && last == '\n');
}

} // namespace

SharedLineFile::SharedLineFile(QString path) : m_path(std::move(path)) {}

FileStamp SharedLineFile::stamp() const
{
    struct stat info = {};
    return ::stat(QFile::encodeName(m_path).constData(), &info) == 0 ? stampOf(info) : FileStamp{};
}

std::optional<std::vector<QByteArray>> SharedLineFile::changedLines()
{
    const FileStamp now = stamp();
    if (now == m_seen)
        return std::nullopt;
    m_seen = now;
    std::vector<QByteArray> lines;
    const Descriptor file(
        ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat info = {};
    if (!file.isOpen() || !isFile(file.get(), info))
        return lines;
    const qint64 from = std::max<qint64>(info.st_size - largestTail, 0);
    QByteArray tail(info.st_size - from, Qt::Uninitialized);
    qint64 have = 0;
    for (ssize_t got = 1; got > 0 && have < tail.size(); have += std::max<ssize_t>(got, 0))
        got = ::pread(file.get(), tail.data() + have, std::size_t(tail.size() - have), from + have);
    tail.truncate(have);
    // The first line of a tail may be the rest of one.
    for (qsizetype begin = from > 0 ? tail.indexOf('\n') + 1 : 0; begin < tail.size();) {
        const qsizetype next = tail.indexOf('\n', begin);
        const qsizetype end = next < 0 ? tail.size() : next;
        lines.push_back(tail.mid(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

bool SharedLineFile::isEmpty() const
{
    constexpr std::size_t sizeInStamp = 2;
    return m_seen.at(sizeInStamp) == 0;
}

std::unique_ptr<FolderLock> SharedLineFile::lock() const
{
    const QString folder = QFileInfo(m_path).path();
    if (!createFolder(folder))
        return nullptr;
    auto lock = std::make_unique<FolderLock>(folder);
    return lock->isHeld() ? std::move(lock) : nullptr;
}

bool SharedLineFile::append(const QByteArray &lines)
{
    const Descriptor file(::open(QFile::encodeName(m_path).constData(),
                                 O_RDWR | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR));
    struct stat info = {};
    if (!file.isOpen() || !isFile(file.get(), info))
        return false;
    // What a program that was killed in the middle has left becomes a line of its own, which nobody can read.
    const bool whole = endsWithALine(file.get(), info.st_size);
    if (!writeAll(file.get(), whole ? lines : '\n' + lines)) {
        std::ignore = ::ftruncate(file.get(), info.st_size);
        return false;
    }
    m_seen = stamp();
    return true;
}

bool SharedLineFile::replaceWith(const QByteArray &lines)
{
    if (!replaceFile(m_path, lines)) // a folder cannot be replaced
        return false;
    m_seen = stamp();
    return true;
}

void SharedLineFile::setAside()
{
    struct stat info = {};
    if (::stat(QFile::encodeName(m_path).constData(), &info) == 0 && S_ISREG(info.st_mode) &&
        !kestrune::setAside(m_path).isEmpty())
        m_seen = {};
}

} // namespace kestrune
