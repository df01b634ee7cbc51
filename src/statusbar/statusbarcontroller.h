// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"
#include "statusbar/appearance.h"
#include "statusbar/popover.h"
#include "statusbar/statusitem.h"

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
    /// The item outlives the controller.
    StatusBarController(std::shared_ptr<AppState> state, StatusItem &statusItem, const Appearance &appearance,
                        const PanelFactory &makePanel);
    ~StatusBarController() override;

    [[nodiscard]] Popover &popover() { return m_popover; }
    void setAppearance(const Appearance &appearance);

    /// The item's click: closes the open panel, else opens it under `anchor`, or under the item where the
    /// host gave no place.
    void togglePopover(const QRect &anchor);
    /// Opens the panel under the item, wherever that is now.
    void showPopover();
    void showPopover(const QRect &anchor);
    /// For a click elsewhere, at a position in the screen's own pixels: opens the panel there, or under the
    /// item where no screen has it. The click that has just closed the panel does not open it again.
    void openPopover(const QPoint &position);

private:
    [[nodiscard]] StatusItemContent content() const;
    void subscribe();
    void redraw();

    std::shared_ptr<AppState> m_state;
    StatusItem &m_statusItem;
    Appearance m_appearance;
    Popover m_popover;
    std::optional<StatusItemContent> m_shown; ///< what the item was given last
};

} // namespace kestrune
