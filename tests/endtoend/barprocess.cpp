// SPDX-License-Identifier: MIT
#include "endtoend/barprocess.h"

#include "support/eventloop.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QProcessEnvironment>

namespace kestrune::test {

namespace {

/// The fields of /proc/PID/stat after the name: state, parent, ...
QByteArrayList statOf(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray text = file.readAll();
    return text.mid(text.lastIndexOf(')') + 2).split(' ');
}

} // namespace

BarProcess::BarProcess() : m_file(QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-bar"))
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "no_proxy", "NO_PROXY"})
        environment.remove(QString::fromLatin1(name));
    for (const char *name :
         {"http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"})
        environment.insert(QString::fromLatin1(name), QStringLiteral("http://127.0.0.1:1"));
    setProcessEnvironment(environment);
    set(QStringLiteral("HOME"), m_folder.path());
    set(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    set(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    setWorkingDirectory(m_folder.path());
}

void BarProcess::set(const QString &variable, const QString &value)
{
    QProcessEnvironment environment = processEnvironment();
    environment.insert(variable, value);
    setProcessEnvironment(environment);
}

void BarProcess::begin(const QStringList &arguments)
{
    start(m_file, arguments);
    closeWriteChannel();
}

bool BarProcess::runToEnd(const QStringList &arguments, int limitMs)
{
    QElapsedTimer elapsed;
    elapsed.start();
    begin(arguments);
    const bool ended = waitFor([this] { return state() == NotRunning; }, std::chrono::milliseconds(limitMs));
    m_elapsedMs = elapsed.elapsed();
    return ended && exitStatus() == NormalExit;
}

QStringList BarProcess::settingsFiles() const
{
    const QDir folder(path(QStringLiteral("config/kestrune-bar")));
    QStringList files;
    QDirIterator entries(folder.path(), QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext())
        files.append(folder.relativeFilePath(entries.next()));
    files.sort();
    return files;
}

QJsonObject BarProcess::summary() const
{
    QFile file(path(QStringLiteral("out/data.json")));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

QList<qint64> childrenOf(qint64 parent)
{
    QList<qint64> children;
    for (const QString &entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool number = false;
        const qint64 pid = entry.toLongLong(&number);
        if (number && statOf(pid).value(1).toLongLong() == parent)
            children.append(pid);
    }
    return children;
}

bool isAlive(qint64 pid)
{
    const QByteArrayList stat = statOf(pid);
    return !stat.isEmpty() && stat.front() != "Z" && stat.front() != "X";
}

} // namespace kestrune::test
