// SPDX-License-Identifier: MIT
#include "support/program.h"

#include "support/eventloop.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

namespace kestrune::test {

using namespace Qt::StringLiterals;

Program::Program(const QString &name)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &variable : environment.keys()) {
        if (variable.contains(u"proxy"_s, Qt::CaseInsensitive) || variable.endsWith(u"DISPLAY"_s) ||
            variable == u"QT_QPA_PLATFORM"_s)
            environment.remove(variable);
    }
    environment.insert(u"all_proxy"_s, u"http://127.0.0.1:1"_s);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    environment.insert(u"HOME"_s, m_home.path());
    for (const QString &kind : {u"config"_s, u"cache"_s, u"data"_s, u"state"_s})
        environment.insert(u"XDG_%1_HOME"_s.arg(kind.toUpper()), path(kind));
    setProcessEnvironment(environment);
    setWorkingDirectory(m_home.path());
    setProgram(QCoreApplication::applicationDirPath() + u'/' +
               name); // all programs are built into one folder
    connect(this, &QProcess::stateChanged, this, [this](ProcessState state) {
        if (state == NotRunning)
            m_elapsedMs = m_timer.elapsed();
    });
}

Program::~Program()
{
    disconnect();
    killNow();
}

void Program::set(const QString &variable, const QString &value)
{
    QProcessEnvironment environment = processEnvironment();
    environment.insert(variable, value);
    setProcessEnvironment(environment);
}

void Program::unset(const QString &variable)
{
    QProcessEnvironment environment = processEnvironment();
    environment.remove(variable);
    setProcessEnvironment(environment);
}

void Program::begin(const QStringList &arguments)
{
    setArguments(arguments);
    m_timer.start();
    start();
}

bool Program::runToEnd(const QStringList &arguments, std::chrono::milliseconds limit)
{
    begin(arguments);
    return waitFor([this] { return state() == NotRunning; }, limit) && error() != FailedToStart &&
           exitStatus() == NormalExit;
}

QByteArray Program::nextLine()
{
    while (!canReadLine() && state() != NotRunning && waitForReadyRead()) {
    }
    return readLine();
}

bool Program::killNow()
{
    if (state() == NotRunning)
        return false;
    static_cast<void>(waitForStarted());
    kill();
    return waitForFinished() && exitStatus() == CrashExit;
}

QByteArray Program::contentOf(const QString &name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

ReplayServer::ReplayServer(const QStringList &arguments) : Program(u"kestrune-replay"_s)
{
    begin(arguments);
    m_address = QString::fromLatin1(nextLine().trimmed());
}

ReplayServer::~ReplayServer()
{
    terminate();
    // A sanitizer's findings show in the status.
    const bool ended = state() == NotRunning || waitForFinished();
    if (!(ended && endedWell()) && QTest::currentTestFunction())
        QTest::qFail(readAllStandardError().constData(), __FILE__, __LINE__);
}

} // namespace kestrune::test
