// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"
#include "statusbar/popover.h"
#include "statusbar/statusitem.h"
#include "statusbar/themesource.h"

#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace kestrune {

/// Makes the panel over the state.
using PanelFactory = std::function<PanelContent(const std::shared_ptr<AppState> &state, QWidget *parent)>;

/// Keeps the status item's picture in step with the state and opens the panel under it.
class StatusBarController : public QObject
{
    Q_OBJECT
public:
    /// Item and theme outlive the controller.
    StatusBarController(std::shared_ptr<AppState> state, StatusItem &statusItem, ThemeSource &theme,
                        const PanelFactory &makePanel);
    ~StatusBarController() override;

    /// The picture of the current state.
    [[nodiscard]] StatusPicture renderImage() const { return pictureOf(content()); }
    [[nodiscard]] Popover &popover() { return m_popover; }

    /// The item's click: closes the open panel, else opens it under `anchor`, or under the item where the
    /// host gave no place.
    void togglePopover(const QRect &anchor);
    /// Opens the panel under the item, wherever that is now.
    void showPopover();
    void showPopover(const QRect &anchor);

private:
    [[nodiscard]] StatusItemContent content() const;
    void subscribe();
    void redraw();
    void themeChanged();
    void pollAppearance();
    void updatePolling();
    void applyPalette();

    std::shared_ptr<AppState> m_state;
    StatusItem &m_statusItem;
    ThemeSource &m_theme;
    Popover m_popover;
    std::optional<StatusItemContent> m_shown; ///< what the item was given last
    QTimer m_appearanceTimer;                 ///< stands still while the theme announces its changes
    bool m_lastDarkAppearance = false;        ///< of the bar, as the poll saw it last
    bool m_lastDarkDesktop = false;           ///< of windows, likewise
};

} // namespace kestrune
