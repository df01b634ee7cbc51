// SPDX-License-Identifier: MIT
#include "platform/sharedjsonfile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <cerrno>
#include <utility>

#include <sys/stat.h>

namespace kestrune {

namespace {

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
    if (m_blocked || m_stamp == FileStamp{})
        return false;
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        const auto found = m_content.constFind(entry.key());
        if (found == m_content.constEnd() || found.value() != entry.value())
            return false;
    }
    return true;
}

SharedJsonFile::State SharedJsonFile::inspect(FileStamp &stamp) const
{
    struct stat info = {};
    stamp = {};
    if (::stat(QFile::encodeName(m_path).constData(), &info) != 0)
        return errno == ENOENT || errno == ENOTDIR ? State::missing : State::unusable;
    stamp = stampOf(info);
    if (!S_ISREG(info.st_mode))
        return State::unusable; // opening a pipe could block for ever
    return info.st_size > largestSize ? State::broken : State::readable;
}

void SharedJsonFile::refresh(Locked locked)
{
    FileStamp stamp;
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
        const QString keptAs = locked == Locked::yes ? setAside(m_path) : QString();
        state = keptAs.isEmpty() ? State::unusable : State::missing;
        if (state == State::missing)
            tell({keptAs, m_content.isEmpty()});
    } else if (state == State::missing && m_stamp != FileStamp{}) {
        m_content = {}; // somebody removed it to begin anew
    }
    if (state == State::unusable && !m_blocked)
        tell({{}, m_content.isEmpty()});
    m_blocked = state == State::unusable;
    m_stamp = state == State::readable ? stamp : FileStamp{};
}

bool SharedJsonFile::replaceWith(const QJsonObject &content)
{
    const QByteArray bytes = QJsonDocument(content).toJson(QJsonDocument::Indented);
    if (bytes.size() > largestSize)
        return false;
    if (!replaceFile(m_path, bytes))
        return false;
    m_content = content;
    static_cast<void>(inspect(m_stamp));
    return true;
}

} // namespace kestrune
