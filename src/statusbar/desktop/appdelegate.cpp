// SPDX-License-Identifier: MIT
#include "statusbar/desktop/appdelegate.h"

#include "line/barbus.h"
#include "panel/popoverview.h"
#include "platform/async.h"
#include "statusbar/desktop/backgroundportal.h"
#include "statusbar/desktop/barservice.h"
#include "statusbar/desktop/desktoptheme.h"
#include "statusbar/desktop/menuexport.h"
#include "statusbar/desktop/portal.h"
#include "statusbar/desktop/quitsignals.h"
#include "statusbar/desktop/singleinstance.h"
#include "statusbar/desktop/statusitemchooser.h"
#include "statusbar/desktop/wakewatch.h"
#include "statusbar/editactions.h"
#include "ui/accessibility.h"

#include <QApplication>
#include <QSessionManager>
#include <QTimer>

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Getting onto the system's bus takes a moment for which the first picture does not wait.
constexpr auto wakeWatchDelay = 1s;

QCoro::Task<> refresh(std::shared_ptr<AppState> state)
{
    co_await state->refreshAll(); // what it reports shows in the state
}

PanelContent makePanel(const std::shared_ptr<AppState> &state, const QString &marketNotice, QWidget *parent)
{
    auto *view = new PopoverView(state, {.marketNotice = marketNotice, .openUrl = {}}, parent);
    QObject::connect(view, &PopoverView::closeRequested, parent, &QWidget::close);
    return {view, [view](bool dark) { view->setDark(dark); },
            [view](int height) { view->setMaximumPanelHeight(height); },
            [view](const QString &message) { view->showToast(message, true); }};
}

} // namespace

AppDelegate::AppDelegate(Launch launch, SingleInstance *instance)
    : m_launch(std::move(launch))
    , m_instance(instance)
    , m_autostart(Autostart::defaultFolder(), QCoreApplication::applicationFilePath())
{}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    installAccessibility();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    m_theme = std::make_unique<DesktopTheme>(bus);
    m_item = std::make_unique<StatusItemChooser>(
        bus, m_launch.dependencies.preferences, m_menu.entries(),
        StatusItemChooser::Options{.stripForced = m_launch.strip,
                                   .yieldsTo = m_instance ? barShellName : QString()});
    connect(m_item.get(), &StatusItemChooser::barChanged, m_theme.get(), &DesktopTheme::setBar);
    m_state = AppState::create(m_launch.dependencies);
    m_controller = std::make_unique<StatusBarController>(
        m_state, *m_item, m_theme->appearance(),
        [notice = m_launch.marketNotice](const std::shared_ptr<AppState> &state, QWidget *parent) {
            return makePanel(state, notice, parent);
        });
    // Queued: the item may announce its bar while it is being redrawn.
    connect(m_theme.get(), &DesktopTheme::changed, m_controller.get(), &StatusBarController::setAppearance,
            Qt::QueuedConnection);
    m_controller->setAppearance(m_theme->appearance()); // the first picture has brought the bar's colours
    addApplicationActions(&m_controller->popover(), this, [] { QCoreApplication::quit(); });
    m_keyFallbackMonitor = std::make_unique<EditKeyFallback>(nullptr);
    if (insideSandbox())
        m_background = std::make_unique<BackgroundPortal>(bus, m_launch.dependencies.preferences);
    connectMenu();
    connectAutostart();
    watchTheSystem();
    if (!m_instance)
        return;
    connect(m_instance, &SingleInstance::activated, this, &AppDelegate::showPanel);
    if (m_background) // what has no window is ended by some desktops unless it asks
        m_background->request(m_background->startsAtLogin());
    m_service = std::make_unique<BarService>(
        bus, m_state, m_launch.marketNotice,
        BarService::Panel{[this](const QPoint &position) { m_controller->openPopover(position); },
                          [this] { m_controller->popover().close(); }});
    m_serviceMenu = std::make_unique<MenuExport>(bus, barMenuPath, m_menu.entries());
    connect(m_serviceMenu.get(), &MenuExport::aboutToShow, &m_menu, &StatusMenu::aboutToShow);
}

void AppDelegate::settingsNotSaved()
{
    m_controller->popover().showError(u"设置无法保存"_s);
}

void AppDelegate::connectMenu()
{
    connect(m_item.get(), &StatusItem::contextMenuRequested, &m_menu, &StatusMenu::popup);
    connect(&m_menu, &StatusMenu::showRequested, this, &AppDelegate::showPanel);
    connect(&m_menu, &StatusMenu::refreshRequested, this, &AppDelegate::refreshNow);
    connect(&m_menu, &StatusMenu::quitRequested, this, [] { QCoreApplication::quit(); });
}

void AppDelegate::connectAutostart()
{
    const auto update = [this] {
        m_menu.setAutostart(m_background ? m_background->startsAtLogin() : m_autostart.isOn());
    };
    update();
    connect(&m_menu, &StatusMenu::aboutToShow, this, update);
    connect(m_item.get(), &StatusItemChooser::menuAboutToShow, this, update);
    connect(&m_menu, &StatusMenu::autostartToggled, this, [this, update](bool on) {
        if (m_background)
            m_background->request(on); // answers later
        else if (!m_autostart.set(on))
            settingsNotSaved();
        update(); // shows what really is so
    });
    if (!m_background)
        return;
    connect(m_background.get(), &BackgroundPortal::answered, this, [this, update](bool done) {
        if (!done)
            m_controller->popover().showError(u"桌面没有允许开机自动启动的更改"_s);
        update();
    });
}

void AppDelegate::watchTheSystem()
{
    m_quitSignals = std::make_unique<QuitSignals>();
    connect(m_quitSignals.get(), &QuitSignals::received, this, [] { QCoreApplication::quit(); });
    // Settings are on the disk already; the session must not start us again beside the autostart entry.
    connect(
        qGuiApp, &QGuiApplication::commitDataRequest, this,
        [](QSessionManager &manager) { manager.setRestartHint(QSessionManager::RestartNever); },
        Qt::DirectConnection);
    QTimer::singleShot(wakeWatchDelay, this, &AppDelegate::watchForWakeUps);
}

void AppDelegate::watchForWakeUps()
{
    m_wakeWatch = std::make_unique<WakeWatch>(QDBusConnection::systemBus(), QDBusConnection::sessionBus());
    connect(m_wakeWatch.get(), &WakeWatch::resumed, this, [this] {
        m_launch.dropConnections(); // the old ones hang in a network that is gone
        m_state->refreshNow();
    });
    connect(m_wakeWatch.get(), &WakeWatch::awayChanged, this, [this](bool away) { m_state->setAway(away); });
}

void AppDelegate::showPanel()
{
    m_controller->showPopover();
}

void AppDelegate::refreshNow()
{
    startInBackground(m_state.get(), [state = m_state] { return refresh(state); });
}

} // namespace kestrune
