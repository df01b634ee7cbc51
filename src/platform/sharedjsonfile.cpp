// SPDX-License-Identifier: MIT
#include "platform/sharedjsonfile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrune {

namespace {

class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }

private:
    int m_fd;
};

// A lock on the folder itself: no lock file that could stay behind. Not held when the folder cannot be opened
// or another program holds on to it; where a file system knows no locks, the write goes on without.
class FolderLock
{
public:
    explicit FolderLock(const QString &path)
        : m_folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        constexpr int attempts = 200;
        constexpr unsigned long pauseMs = 5;
        for (int i = 0; i < attempts && m_folder.isOpen() && !m_held; ++i) {
            m_held =
                ::flock(m_folder.get(), LOCK_EX | LOCK_NB) == 0 || (errno != EWOULDBLOCK && errno != EINTR);
            if (!m_held)
                QThread::msleep(pauseMs);
        }
    }
    [[nodiscard]] bool isHeld() const { return m_held; }

private:
    Descriptor m_folder;
    bool m_held = false;
};

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

// The new name of a file is on the disk only with its folder. Some file systems cannot do that; the file is
// whole all the same.
void syncFolderOf(const QString &path)
{
    const Descriptor folder(
        ::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        static_cast<void>(::fsync(folder.get()));
}

std::optional<QJsonObject> parseObject(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return QJsonObject(); // what a crash of the machine may leave; nothing in it to save
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace

QJsonObject withChanges(const QJsonObject &base, const QJsonObject &changes)
{
    QJsonObject result;
    for (auto entry = base.begin(); entry != base.end(); ++entry) {
        if (!changes.contains(entry.key()))
            result.insert(entry.key(), entry.value());
    }
    for (auto entry = changes.begin(); entry != changes.end(); ++entry)
        result.insert(entry.key(), entry.value());
    return result;
}

SharedJsonFile::SharedJsonFile(const QString &folder, const QString &fileName)
    : m_folder(QFileInfo(folder).absoluteFilePath()), m_path(m_folder + u'/' + fileName)
{
    // Whoever keeps settings in a repository links to them; the link stays, its target is what changes.
    QFileInfo info(m_path);
    constexpr int mostLinks = 8;
    for (int i = 0; i < mostLinks && info.isSymLink(); ++i) {
        m_path = info.symLinkTarget();
        info.setFile(m_path);
    }
}

const QJsonObject &SharedJsonFile::content()
{
    refresh();
    return m_content;
}

void SharedJsonFile::onUnread(std::function<void(const UnreadFile &)> report)
{
    m_report = std::move(report);
    if (m_unread)
        m_report(*m_unread);
}

void SharedJsonFile::tell(const UnreadFile &unread)
{
    m_unread = unread;
    if (m_report)
        m_report(unread);
}

bool SharedJsonFile::merge(const QJsonObject &entries, const EntryChanges &changes)
{
    refresh();
    if (holds(changed(entries, changes)))
        return true;
    if (!createFolder(m_folder))
        return false;
    const FolderLock lock(m_folder);
    if (!lock.isHeld())
        return false;
    refresh(Locked::yes); // another program may have written while this one waited
    if (m_blocked)
        return false;
    return replaceWith(withChanges(m_content, changed(entries, changes)));
}

QJsonObject SharedJsonFile::changed(QJsonObject entries, const EntryChanges &changes) const
{
    for (const auto &[key, change] : changes)
        entries.insert(key, change(m_content.value(key)));
    return entries;
}

bool SharedJsonFile::holds(const QJsonObject &entries) const
{
    if (m_blocked || m_stamp == Stamp{})
        return false;
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        const auto found = m_content.constFind(entry.key());
        if (found == m_content.constEnd() || found.value() != entry.value())
            return false;
    }
    return true;
}

SharedJsonFile::State SharedJsonFile::inspect(Stamp &stamp) const
{
    struct stat info = {};
    stamp = {};
    if (::stat(QFile::encodeName(m_path).constData(), &info) != 0)
        return errno == ENOENT || errno == ENOTDIR ? State::missing : State::unusable;
    stamp = {static_cast<std::int64_t>(info.st_dev),          static_cast<std::int64_t>(info.st_ino),
             static_cast<std::int64_t>(info.st_size),         static_cast<std::int64_t>(info.st_mtim.tv_sec),
             static_cast<std::int64_t>(info.st_mtim.tv_nsec), static_cast<std::int64_t>(info.st_ctim.tv_sec),
             static_cast<std::int64_t>(info.st_ctim.tv_nsec)};
    if (!S_ISREG(info.st_mode))
        return State::unusable; // opening a pipe could block for ever
    return info.st_size > largestSize ? State::broken : State::readable;
}

void SharedJsonFile::refresh(Locked locked)
{
    Stamp stamp;
    State state = inspect(stamp);
    if (stamp == m_stamp && state != State::missing && !m_blocked)
        return;
    if (state == State::readable) {
        QFile file(m_path);
        if (!file.open(QIODevice::ReadOnly)) {
            state = State::unusable;
        } else if (auto parsed = parseObject(file.read(largestSize))) {
            m_content = *std::move(parsed);
            ++m_readings;
        } else {
            state = State::broken;
        }
    }
    if (state == State::broken && locked == Locked::no) {
        // Another program may be setting it aside right now and write a good one.
        const FolderLock lock(m_folder);
        if (lock.isHeld())
            return refresh(Locked::yes);
    }
    if (state == State::broken) {
        const QString keptAs = locked == Locked::yes ? setAside() : QString();
        state = keptAs.isEmpty() ? State::unusable : State::missing;
        if (state == State::missing)
            tell({keptAs, m_content.isEmpty()});
    } else if (state == State::missing && m_stamp != Stamp{}) {
        m_content = {}; // somebody removed it to begin anew
    }
    if (state == State::unusable && !m_blocked)
        tell({{}, m_content.isEmpty()});
    m_blocked = state == State::unusable;
    m_stamp = state == State::readable ? stamp : Stamp{};
}

// Where to; nothing when it could not be moved.
QString SharedJsonFile::setAside() const
{
    const QString base =
        m_path + QStringLiteral(".broken-") + QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd-HHmmss");
    constexpr int mostNames = 1000;
    for (int i = 0; i < mostNames; ++i) {
        const QString name = i == 0 ? base : base + u'-' + QString::number(i);
        // link() fails where the name is taken, which rename() would overwrite.
        if (::link(QFile::encodeName(m_path).constData(), QFile::encodeName(name).constData()) == 0)
            return ::unlink(QFile::encodeName(m_path).constData()) == 0 ? name : QString();
        if (errno == EEXIST)
            continue;
        // No hard links here (FAT, some network folders).
        const bool noLinks = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;
        return noLinks && !QFileInfo::exists(name) && QFile::rename(m_path, name) ? name : QString();
    }
    return {};
}

bool SharedJsonFile::replaceWith(const QJsonObject &content)
{
    const QByteArray bytes = QJsonDocument(content).toJson(QJsonDocument::Indented);
    if (bytes.size() > largestSize)
        return false;
    // One name for all, safe under the lock: what a killed program left is overwritten, not collected.
    const QByteArray path = QFile::encodeName(m_path);
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
    syncFolderOf(m_path);
    m_content = content;
    static_cast<void>(inspect(m_stamp));
    return true;
}

} // namespace kestrune
