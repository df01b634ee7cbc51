// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"
#include "statusbar/desktop/autostart.h"
#include "statusbar/statusbarcontroller.h"
#include "statusbar/statusmenu.h"

#include <QDBusConnection>

#include <functional>
#include <memory>

namespace kestrune {

class BackgroundPortal;
class BarService;
class MenuExport;
class DesktopTheme;
class EditKeyFallback;
class QuitSignals;
class SingleInstance;
class StatusItemChooser;
class WakeWatch;

/// Starts and holds the interactive application.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    struct Launch
    {
        AppState::Dependencies dependencies;
        QString marketNotice;                  ///< the panel's line about prices that are not live
        std::function<void()> dropConnections; ///< of the HTTP clients, after a sleep
        bool strip = false;                    ///< asked for on the command line
    };

    /// `instance` is absent for runs that are instances of their own; it outlives the delegate.
    AppDelegate(Launch launch, SingleInstance *instance);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();
    /// Present once launched.
    [[nodiscard]] AppState &state() const { return *m_state; }
    [[nodiscard]] StatusBarController &controller() const { return *m_controller; }
    /// Tells the user in the panel that what is set is lost with this run.
    void settingsNotSaved();

private:
    void connectMenu();
    void connectAutostart();
    void watchTheSystem();
    void watchForWakeUps();
    void showPanel();
    void refreshNow();

    Launch m_launch;
    SingleInstance *m_instance;
    Autostart m_autostart;
    std::unique_ptr<BackgroundPortal> m_background; ///< inside a sandbox, instead of it
    StatusMenu m_menu;
    std::shared_ptr<AppState> m_state;
    std::unique_ptr<DesktopTheme> m_theme;
    std::unique_ptr<StatusItemChooser> m_item;
    std::unique_ptr<StatusBarController> m_controller;
    std::unique_ptr<BarService> m_service;
    std::unique_ptr<MenuExport> m_serviceMenu; ///< of whoever shows the item in our place
    std::unique_ptr<EditKeyFallback> m_keyFallbackMonitor;
    std::unique_ptr<QuitSignals> m_quitSignals;
    std::unique_ptr<WakeWatch> m_wakeWatch;
};

} // namespace kestrune
