#include "panel/panelmodel.h"
#include "platform/demomarket.h"
#include "platform/jsonpreferences.h"
#include "platform/qthttpclient.h"
#include "platform/quietattention.h"
#include "platform/systemclock.h"
#include "snapshot/commandline.h"
#include "snapshot/snapshotmode.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

namespace {

using namespace kestrune;
using namespace Qt::Literals::StringLiterals;

constexpr int usageError = 2;

int fail(const QString &line, int status)
{
    std::fprintf(stderr, "kestrune-bar: %s\n", line.toUtf8().constData());
    return status;
}

QStringList argumentsAfterName(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

int failWithoutDisplay()
{
    return fail(u"no display; --snapshot DIR works without one"_s, 1);
}

/// While Qt looks for the display. One that is named but not there is fatal to Qt; what its plugins say on
/// the way is left out for our own line.
void refuseDeadDisplay(QtMsgType type, const QMessageLogContext &, const QString &)
{
    if (type == QtFatalMsg)
        std::_Exit(failWithoutDisplay());
}

/// Where this run's settings live; the demo market's are kept apart from the real ones.
QString settingsFolder(bool demo)
{
    const QString folder = JsonPreferences::defaultFolder();
    return demo ? folder + u"/demo"_s : folder;
}

/// A snapshot run looks the same whatever display and desktop there is.
void detachFromDesktop()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    for (const char *setting : {"QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"})
        qunsetenv(setting);
    QGuiApplication::setDesktopSettingsAware(false);
}

int runSnapshot(const SnapshotMode::Config &config, const AppState::Dependencies &dependencies,
                const QString &notice)
{
    SnapshotMode snapshot(config, dependencies, notice);
    QObject::connect(&snapshot, &SnapshotMode::finished, qApp, &QCoreApplication::quit);
    snapshot.run();
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    const QStringList arguments = argumentsAfterName(argc, argv);
    const CommandLine line = parseCommandLine(arguments);
    if (line.help || line.version) {
        std::fputs(line.help ? helpText().toUtf8().constData() : "kestrune-bar " KESTRUNE_VERSION "\n",
                   stdout);
        return 0;
    }
    if (line.error)
        return fail(*line.error, usageError);

    const auto config = SnapshotMode::parse(arguments);
    if (config)
        detachFromDesktop();
    else if (!hasDisplay())
        return failWithoutDisplay();

    const QtMessageHandler messageHandler = qInstallMessageHandler(refuseDeadDisplay);
    QApplication::setStyle(u"Fusion"_s); // the panel draws with its own palette on every desktop
    QApplication application(argc, argv);
    qInstallMessageHandler(messageHandler);
    QCoreApplication::setApplicationName(u"kestrune-bar"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(KESTRUNE_VERSION));

    std::unique_ptr<DemoMarket> demo;
    if (line.demo) {
        auto started = DemoMarket::start(QCoreApplication::applicationDirPath() + u"/kestrune-replay"_s);
        if (!started)
            return fail(started.error(), usageError);
        demo = std::move(*started);
    }
    const auto server = demo ? std::optional(demo->address()) : line.marketServer;

    SystemClock clock;
    JsonPreferences preferences(settingsFolder(line.demo));
    QtHttpClient cryptoHttp;
    QtHttpClient stockHttp;
    QuietAttention attention;
    const AppState::Dependencies dependencies{
        cryptoHttp,  stockHttp, clock,
        preferences, attention, server ? Endpoints::via(*server) : Endpoints::live()};
    return config ? runSnapshot(*config, dependencies, marketNotice(line.demo, line.marketServer))
                  : fail(u"interactive start is not built yet"_s, 1);
}
