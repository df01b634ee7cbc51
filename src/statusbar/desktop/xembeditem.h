// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/desktop/itemwidget.h"
#include "statusbar/desktop/traywatch.h"
#include "statusbar/statusitem.h"

#include <QTimer>

#include <memory>

namespace kestrune {

/// The item as a window in the X11 system tray, as wide as its picture.
class XEmbedItem final : public StatusItem
{
    Q_OBJECT
public:
    /// Asks the watched tray to take the item; the tray must exist.
    explicit XEmbedItem(TrayWatch &watch);
    ~XEmbedItem() override;

    void show(const StatusItemContent &content) override;
    [[nodiscard]] std::optional<QRect> place() const override;

Q_SIGNALS:
    /// The tray makes the window too narrow to be read, or throws it out.
    void squeezed();
    /// The tray has not taken the window for a while; it may be busy, as at log-in, and still do so.
    void unanswered();
    void docked();

private:
    void dock();
    void setMapped(bool mapped);
    void reparented(quint32 window, quint32 parent);
    void applySize();
    void checkSizeLater();
    void checkSize();
    /// What of the window can be seen, in the window system's pixels; empty in a tray that shows a copy.
    [[nodiscard]] std::optional<QSize> visibleSize() const;

    TrayWatch &m_watch;
    std::unique_ptr<ItemWidget> m_widget;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    bool m_docked = false;
    bool m_wasDocked = false;
    int m_height = static_cast<int>(statusHeight); ///< logical; less in a lower tray
    QTimer m_check; ///< runs once after docking and after each change of the size
};

} // namespace kestrune
