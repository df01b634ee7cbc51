// SPDX-License-Identifier: MIT
#include "faults/faultrun.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>

#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

namespace kestrune::test {

using namespace Qt::StringLiterals;

namespace {

// The program looks every half second until 30 s have passed, waits one more and writes.
constexpr qint64 deadlineMs = 30'900;
constexpr qint64 latestMs = 38'000; // room for a busy machine
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long mostMiB = 1000; // the sanitizers' own memory counts too
#else
constexpr long mostMiB = 100;
#endif
constexpr qint64 marketStartMs = 20'000;

/// Bytes that outlive the pointers to them, with the null pointer that ends such a list.
struct ArgumentList
{
    explicit ArgumentList(const QStringList &texts)
    {
        for (const QString &text : texts)
            bytes.push_back(text.toLocal8Bit());
        for (QByteArray &each : bytes)
            pointers.push_back(each.data());
        pointers.push_back(nullptr);
    }
    std::vector<QByteArray> bytes;
    std::vector<char *> pointers;
};

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

MeasuredProcess::~MeasuredProcess()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

bool MeasuredProcess::start(const QString &program, const QStringList &arguments,
                            const QStringList &environment, const QString &errorFile)
{
    ArgumentList argumentList(QStringList{program} + arguments);
    ArgumentList environmentList(environment);
    const QByteArray errorPath = QFile::encodeName(errorFile);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorPath.constData(),
                                     O_WRONLY | O_CREAT | O_TRUNC, S_IRUSR | S_IWUSR);
    m_timer.start();
    const int error = ::posix_spawn(&m_pid, QFile::encodeName(program).constData(), &actions, nullptr,
                                    argumentList.pointers.data(), environmentList.pointers.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        m_pid = -1;
    return error == 0;
}

bool MeasuredProcess::hasEnded()
{
    if (m_pid < 0)
        return true;
    rusage used = {};
    const pid_t ended = ::wait4(m_pid, &m_status, WNOHANG, &used);
    if (ended == 0 || (ended < 0 && errno == EINTR))
        return false;
    m_pid = -1;
    m_elapsedMs = m_timer.elapsed();
    m_peakKiB = used.ru_maxrss;
    return true;
}

FaultRun::FaultRun(FaultCase faultCase) : m_case(std::move(faultCase))
{
    QStringList arguments{u"--port"_s, u"0"_s, u"--exit-with-stdin"_s};
    for (const QString &fault : m_case.faults)
        arguments += {u"--fault"_s, fault};
    m_market.start(QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-replay"), arguments);
    m_sinceBirth.start();
}

FaultRun::~FaultRun()
{
    m_market.closeWriteChannel();
    if (!m_market.waitForFinished(5000))
        m_market.kill();
    m_market.waitForFinished(1000);
}

bool FaultRun::advance()
{
    if (!m_failure.isEmpty())
        return true;
    if (!m_started) {
        if (m_market.canReadLine()) {
            m_started = true;
            if (!startBar(QString::fromLatin1(m_market.readLine()).trimmed()))
                m_failure = u"the program does not start"_s;
        } else if (m_sinceBirth.elapsed() > marketStartMs || m_market.state() == QProcess::NotRunning) {
            m_failure = u"the market does not start: "_s + QString::fromUtf8(m_market.readAllStandardError());
        }
        return !m_failure.isEmpty();
    }
    if (m_bar.hasEnded())
        return true;
    if (m_sinceBirth.elapsed() > latestMs + marketStartMs)
        m_failure = u"the run does not end"_s;
    return !m_failure.isEmpty();
}

bool FaultRun::startBar(const QString &address)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name : environment.keys()) {
        if (name.contains(u"proxy"_s, Qt::CaseInsensitive) || name.endsWith(u"DISPLAY") ||
            name == u"QT_QPA_PLATFORM")
            environment.remove(name);
    }
    // A proxy that is not there keeps every request on this machine; a name is then not looked up either.
    if (!m_case.needsDns)
        environment.insert(u"all_proxy"_s, u"http://127.0.0.1:1"_s);
    environment.insert(u"HOME"_s, m_folder.path());
    environment.insert(u"XDG_CONFIG_HOME"_s, m_folder.filePath(u"config"_s));
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    const QStringList arguments =
        QStringList{u"--snapshot"_s, m_folder.filePath(u"out"_s), u"--market-server"_s, address} +
        m_case.selection;
    return m_bar.start(QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-bar"), arguments,
                       environment.toStringList(), m_folder.filePath(u"errors"_s));
}

QString FaultRun::verdict() const
{
    if (!m_failure.isEmpty())
        return m_failure;
    if (!m_bar.endedWell())
        return u"it ends badly"_s;
    if (const QByteArray errors = contentOf(m_folder.filePath(u"errors"_s)); !errors.isEmpty())
        return u"it complains: "_s + QString::fromUtf8(errors);
    if (m_bar.peakMiB() > mostMiB)
        return u"it takes %1 MiB"_s.arg(m_bar.peakMiB());
    const bool early = m_bar.elapsedMs() < deadlineMs;
    if (m_bar.elapsedMs() > latestMs || early != (m_case.outcome == Outcome::complete))
        return u"it ends after %1 ms"_s.arg(m_bar.elapsedMs());
    return contentProblem();
}

QString FaultRun::contentProblem() const
{
    const QJsonObject summary =
        QJsonDocument::fromJson(contentOf(m_folder.filePath(u"out/data.json"_s))).object();
    const bool hasPicture = QFile::exists(m_folder.filePath(u"out/popover.png"_s));
    const bool hasPrice = summary.value(u"price"_s).toDouble() > 0;
    const bool hasChange = summary.value(u"changePct"_s).toDouble() != 0; // never with the last close alone
    const bool hasZones = !summary.value(u"support"_s).toArray().isEmpty() ||
                          !summary.value(u"resistance"_s).toArray().isEmpty();
    const qsizetype signalCount = summary.value(u"signals"_s).toArray().size();
    const bool concluded = summary.value(u"conclusion"_s).toString() != u"数据加载中…";
    const bool candles = m_case.outcome != Outcome::candleless;
    const bool fits = summary.size() == 14 && hasPicture && hasPrice &&
                      hasChange == (m_case.outcome != Outcome::priceless) && hasZones == candles &&
                      signalCount == (candles ? 3 : 0) && concluded == candles;
    return fits ? QString()
                : u"it writes "_s + QString::fromUtf8(QJsonDocument(summary).toJson(QJsonDocument::Compact));
}

} // namespace kestrune::test
