// SPDX-License-Identifier: MIT
#include "replay/commandline.h"
#include "replay/history.h"
#include "replay/server.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>

#include <sys/signalfd.h>
#include <unistd.h>

using namespace kestrune::replay;

namespace {

void warn(const QString &line)
{
    std::fprintf(stderr, "kestrune-replay: %s\n", qUtf8Printable(line));
}

int fail(int status, const QString &reason)
{
    warn(reason);
    return status;
}

/// SIGTERM and SIGINT as readable events, so that they end the event loop instead of the process.
int openSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

/// Quits once standard input is at its end, however the process at its other side went away.
void quitWithStandardInput(QSocketNotifier &notifier)
{
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [] {
        char bytes[4096];
        if (::read(STDIN_FILENO, bytes, sizeof bytes) <= 0)
            QCoreApplication::quit();
    });
}

int serve(const Options &options)
{
    const MarketClock clock(options.clock, options.speed.value_or(options.clock ? 0 : 1));
    std::optional<History> history;
    if (!options.history.isEmpty()) {
        if (!QFileInfo(options.history).isDir())
            return fail(2, QStringLiteral("no folder \"%1\"").arg(options.history));
        history.emplace(options.history, warn);
    }
    Market market(clock, options.seed, [&history](const Instrument &instrument) {
        return history ? history->find(instrument) : std::nullopt;
    });
    auto started = startServer(options, market);
    if (const QString *reason = std::get_if<QString>(&started))
        return fail(1, *reason);
    const auto &server = std::get<std::unique_ptr<QTcpServer>>(started);
    std::printf("%s://127.0.0.1:%d\n", options.certificate.isEmpty() ? "http" : "https",
                server->serverPort());
    std::fflush(stdout);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    input.setEnabled(options.exitWithStdin);
    quitWithStandardInput(input);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    const int signals = openSignals(); // before Qt starts any thread, which would take them
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kestrune-replay"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KESTRUNE_VERSION));

    const auto parsed = parseCommandLine(QCoreApplication::arguments().mid(1));
    if (const QString *reason = std::get_if<QString>(&parsed))
        return fail(2, *reason);
    const Options &options = std::get<Options>(parsed);
    if (options.help || options.version) {
        const QByteArray version = QByteArrayLiteral("kestrune-replay " KESTRUNE_VERSION "\n");
        std::fputs(options.help ? helpText() : version.constData(), stdout);
        return 0;
    }
    QSocketNotifier signalled(signals, QSocketNotifier::Read);
    QObject::connect(&signalled, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return serve(options);
}
