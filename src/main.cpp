// SPDX-License-Identifier: MIT
#include "demomarket.h"
#include "line/barclient.h"
#include "line/clickinput.h"
#include "line/lineoutput.h"
#include "line/unsavedpreferences.h"
#include "line/watchmode.h"
#include "platform/configfolder.h"
#include "platform/curlhttpclient.h"
#include "platform/jsonpreferences.h"
#include "platform/systemclock.h"
#include "snapshot/commandline.h"
#include "snapshot/quietattention.h"
#include "snapshot/snapshotmode.h"
#include "state/alertlog.h"
#include "state/alerttexts.h"
#include "statusbar/desktop/appdelegate.h"
#include "statusbar/desktop/desktopattention.h"
#include "statusbar/desktop/quitsignals.h"
#include "statusbar/desktop/singleinstance.h"
#include "ui/housestyle.h"
#include "viewmodel/paneltexts.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

namespace {

using namespace kestrune;
using namespace Qt::StringLiterals;

constexpr int usageError = 2;
constexpr int largeBlock = 128 << 10; // bytes

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

/// Whoever started this from a menu or with the session sees no standard error.
int failBesideStranger(const SingleInstance &instance)
{
    const int status = fail(u"another instance runs but does not answer"_s, 1);
    QMessageBox box(QMessageBox::Warning, u"Kestrune Bar"_s, u"Kestrune Bar 没有启动"_s);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(instance.strangerText());
    box.addButton(u"知道了"_s, QMessageBox::AcceptRole);
    box.exec();
    return status;
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

QString alertLogPath(bool demo)
{
    return stateFolder() + u"/kestrune-bar/"_s + (demo ? u"demo/"_s : QString()) + u"alerts.jsonl"_s;
}

void printAlertLog(const CommandLine &line)
{
    AlertLog log(alertLogPath(line.demo));
    for (const AlertLogEntry &firing : log.entries()) {
        const QByteArray text = line.json ? toJsonLine(firing) : alertLogLine(firing).toUtf8();
        std::puts(text.constData());
    }
}

/// A snapshot run looks the same whatever display and desktop there is.
void detachFromDesktop()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    for (const char *setting : {"QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"})
        qunsetenv(setting);
    QGuiApplication::setDesktopSettingsAware(false);
}

/// Where Wayland and X11 are both offered, X11: only there can a window choose its place. And without GL. Who
/// has set something else keeps it.
void choosePlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        !qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
    // Nothing here draws through GL; its drivers would take longer to load, and more memory, than all
    // windows.
    if (qEnvironmentVariableIsEmpty("QT_XCB_GL_INTEGRATION"))
        qputenv("QT_XCB_GL_INTEGRATION", "none");
}

/// Styles, fonts and icons are our own. A desktop's plugin for them would only bring its toolkit along: GTK
/// and 60 MiB. Plasma's is small and knows its colours; who has named another one keeps it.
void refuseForeignToolkits()
{
    const QByteArray named = qgetenv("QT_QPA_PLATFORMTHEME");
    if (named.contains("gtk") || named.contains("gnome"))
        qunsetenv("QT_QPA_PLATFORMTHEME");
    if (!qgetenv("XDG_CURRENT_DESKTOP").split(':').contains("KDE"))
        QGuiApplication::setDesktopSettingsAware(false);
}

void nameApplication()
{
    QCoreApplication::setApplicationName(u"kestrune-bar"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(KESTRUNE_VERSION));
}

void describeApplication()
{
    nameApplication();
    QGuiApplication::setDesktopFileName(u"org.kestrune.bar"_s);
    QApplication::setQuitOnLastWindowClosed(false);
}

int runSnapshot(const SnapshotMode::Config &config, const AppState::Dependencies &dependencies,
                const QString &notice)
{
    SnapshotMode snapshot(config, dependencies, notice);
    QObject::connect(&snapshot, &SnapshotMode::finished, qApp, &QCoreApplication::exit);
    snapshot.run();
    return QCoreApplication::exec();
}

int runInteractive(AppDelegate::Launch launch, SingleInstance *instance, JsonPreferences &preferences)
{
    AppDelegate delegate(std::move(launch), instance);
    delegate.applicationDidFinishLaunching();
    // Later: the write that fails is a step of something that has to come to its end first.
    preferences.onFirstWriteFailure([target = QPointer(&delegate)] {
        if (target)
            QMetaObject::invokeMethod(target.get(), &AppDelegate::settingsNotSaved, Qt::QueuedConnection);
    });
    preferences.onUnread([target = QPointer(&delegate)](const UnreadFile &unread) {
        if (target)
            QMetaObject::invokeMethod(
                target.get(), [target, unread] { target->state().unreadSettings = unread; },
                Qt::QueuedConnection);
    });
    preferences.onOutsideChange([target = QPointer(&delegate)] {
        if (target)
            target->state().takeStoredAlerts();
    });
    return QCoreApplication::exec();
}

/// The market that is asked instead of the live ones.
struct OtherMarket
{
    std::unique_ptr<DemoMarket> demo;
    std::optional<QString> address;

    [[nodiscard]] Endpoints endpoints() const
    {
        return address ? Endpoints::via(*address) : Endpoints::live();
    }
};

/// The error is one line.
tl::expected<OtherMarket, QString> otherMarket(const CommandLine &line)
{
    if (!line.demo)
        return OtherMarket{nullptr, line.marketServer};
    auto started = DemoMarket::start(QCoreApplication::applicationDirPath() + u"/kestrune-replay"_s);
    if (!started)
        return tl::unexpected(started.error());
    OtherMarket market{std::move(*started), std::nullopt};
    market.address = market.demo->address();
    return market;
}

/// What the own state of a run that prints lines depends on. Its settings are read only, and neon mode, which
/// no line shows, is off.
struct LineMarket
{
    explicit LineMarket(const QString &folder) : stored(folder), preferences(stored)
    {
        settings::blingMode.store(preferences, false);
    }

    JsonPreferences stored;
    UnsavedPreferences preferences;
    CurlHttpClient crypto, stock;
    QuietAttention attention;
};

bool isOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

/// Prints lines for a bar, without any display.
int runLine(const WatchMode::Config &config, const CommandLine &line, char **argv)
{
    if (!isOpen(STDOUT_FILENO))
        return 0; // nobody reads; another file might get this number
    int argumentsForQt = 1;
    QCoreApplication application(argumentsForQt, argv);
    nameApplication();
    const QuitSignals signalled({SIGPIPE});
    QObject::connect(&signalled, &QuitSignals::received, &application, &QCoreApplication::quit);
    auto market = otherMarket(line);
    if (!market)
        return fail(market.error(), usageError);

    SystemClock clock;
    std::unique_ptr<LineMarket> own;
    const auto makeState = [&] {
        own = std::make_unique<LineMarket>(settingsFolder(line.demo));
        auto state = AppState::create(
            {own->crypto, own->stock, clock, own->preferences, own->attention, market->endpoints()});
        own->stored.onOutsideChange([target = QPointer(state.get())] {
            if (target)
                target->takeStoredAlerts();
        });
        return state;
    };
    LineOutput output(STDOUT_FILENO);
    // A run on another market has nothing to do with the bar that runs.
    auto client = market->address ? nullptr : std::make_unique<BarClient>(QDBusConnection::sessionBus());
    WatchMode watch(config, clock, makeState, marketNotice(line.demo, line.marketServer), output,
                    std::move(client));
    QObject::connect(&watch, &WatchMode::finished, &application, &QCoreApplication::exit,
                     Qt::QueuedConnection);
    std::optional<ClickInput> clicks;
    if (config.format == LineFormat::i3bar && !config.once && isOpen(STDIN_FILENO)) {
        clicks.emplace(STDIN_FILENO);
        QObject::connect(&*clicks, &ClickInput::clicked, &watch, &WatchMode::click);
    }
    watch.run();
    return QCoreApplication::exec();
}

/// Folders that may hold our modules: beside the program, and where the installation puts them.
QStringList moduleFolders()
{
    const QString program = QCoreApplication::applicationDirPath();
    return {program, program + u"/" KESTRUNE_MODULE_PATH ""_s};
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

    if (line.alertLog) {
        printAlertLog(line);
        return 0;
    }
    const auto watch = WatchMode::parse(arguments);
    if (!watch)
        return fail(watch.error(), usageError);
    if (*watch)
        return runLine(**watch, line, argv);

    const auto config = SnapshotMode::parse(arguments);
    if (config)
        detachFromDesktop();
    else if (!hasDisplay())
        return failWithoutDisplay();
    else
        choosePlatform();
    if (!config)
        refuseForeignToolkits();

    // Pictures go back to the system when they are freed; the allocator would learn to keep such sizes.
    ::mallopt(M_MMAP_THRESHOLD, largeBlock);
    const QtMessageHandler messageHandler = qInstallMessageHandler(refuseDeadDisplay);
    QApplication::setStyle(new HouseStyle);
    // Qt has options of its own, like -platform and -style; to a snapshot run they are unknown arguments.
    int argumentsForQt = config ? 1 : argc;
    QApplication application(argumentsForQt, argv);
    qInstallMessageHandler(messageHandler);
    describeApplication();

    // A run on another market is an instance of its own.
    std::unique_ptr<SingleInstance> instance;
    if (!config && !line.demo && !line.marketServer) {
        instance = std::make_unique<SingleInstance>(QDBusConnection::sessionBus());
        if (instance->claim() == SingleInstance::Role::second)
            return instance->activateFirst() ? 0 : failBesideStranger(*instance);
    }

    const auto market = otherMarket(line);
    if (!market)
        return fail(market.error(), usageError);

    SystemClock clock;
    JsonPreferences preferences(settingsFolder(line.demo));
    CurlHttpClient cryptoHttp;
    CurlHttpClient stockHttp;
    std::unique_ptr<Attention> attention;
    if (config)
        attention = std::make_unique<QuietAttention>();
    else
        attention = std::make_unique<DesktopAttention>(moduleFolders());
    const AppState::Dependencies dependencies{cryptoHttp,
                                              stockHttp,
                                              clock,
                                              preferences,
                                              *attention,
                                              market->endpoints(),
                                              config ? QString() : alertLogPath(line.demo)};
    const QString notice = marketNotice(line.demo, line.marketServer);
    if (config)
        return runSnapshot(*config, dependencies, notice);
    const auto dropConnections = [&] {
        cryptoHttp.dropConnections();
        stockHttp.dropConnections();
    };
    return runInteractive({dependencies, notice, dropConnections, line.strip}, instance.get(), preferences);
}
