// SPDX-License-Identifier: MIT
#include "sound/outsideplayer.h"

#include <QStandardPaths>

#include <chrono>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// One that lasts this long has found a server and plays; one without a server gives up at once.
constexpr auto startLimit = 800ms;
// The sound lasts under a second; a server may sit on its buffer for some more.
constexpr auto endLimit = 10s;

// The first one speaks to both usual servers and gives up where there is none; the second may wait for ever
// on a desktop where its server only serves pictures.
QStringList installedPlayers()
{
    QStringList found;
    for (const QString &name : {u"paplay"_s, u"pw-play"_s, u"aplay"_s}) {
        if (QString program = QStandardPaths::findExecutable(name); !program.isEmpty())
            found << std::move(program);
    }
    return found;
}

} // namespace

OutsidePlayer::OutsidePlayer(QString resource) : m_resource(std::move(resource))
{
    m_startLimit.setSingleShot(true);
    m_startLimit.setInterval(startLimit);
    connect(&m_startLimit, &QTimer::timeout, this, [this] { decide(true); });
    m_endLimit.setSingleShot(true);
    m_endLimit.setInterval(endLimit);
    connect(&m_endLimit, &QTimer::timeout, this, [this] { m_process->kill(); });
}

OutsidePlayer::~OutsidePlayer()
{
    if (!m_process)
        return;
    m_process->disconnect(this);
    m_process->kill();
    m_process->waitForFinished(1000);
}

void OutsidePlayer::play(Started started)
{
    m_waiting = std::move(started);
    m_left = installedPlayers();
    if (!writeFile())
        m_left.clear();
    tryNext();
}

void OutsidePlayer::tryNext()
{
    if (m_left.isEmpty()) {
        decide(false);
        return;
    }
    m_process = std::make_unique<QProcess>();
    m_process->setStandardInputFile(QProcess::nullDevice());
    m_process->setStandardOutputFile(QProcess::nullDevice());
    m_process->setStandardErrorFile(QProcess::nullDevice());
    // Queued: the process may not be deleted from inside its own signal.
    connect(
        m_process.get(), &QProcess::finished, this,
        [this](int code, QProcess::ExitStatus status) { ended(status == QProcess::NormalExit && code == 0); },
        Qt::QueuedConnection);
    connect(
        m_process.get(), &QProcess::errorOccurred, this,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                ended(false);
        },
        Qt::QueuedConnection);
    m_startLimit.start();
    m_endLimit.start();
    m_process->start(m_left.takeFirst(), {m_file->fileName()});
}

void OutsidePlayer::ended(bool well)
{
    m_endLimit.stop();
    m_process.reset();
    if (!m_waiting)
        return;
    if (well)
        decide(true);
    else
        tryNext();
}

void OutsidePlayer::decide(bool started)
{
    m_startLimit.stop();
    m_left.clear();
    std::exchange(m_waiting, nullptr)(started);
}

bool OutsidePlayer::writeFile()
{
    if (m_file && m_file->exists())
        return true;
    m_file.reset(QTemporaryFile::createNativeFile(m_resource));
    return m_file != nullptr;
}

} // namespace kestrune
