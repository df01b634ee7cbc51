// SPDX-License-Identifier: MIT
#include "statusbar/desktop/windowplace.h"

#include "statusbar/desktop/managerwatch.h"
#include "statusbar/panelplacement.h"

#include <QWidget>

#include <array>

namespace kestrune {

std::optional<QRect> serverPlace(const QWidget &widget)
{
    xcb_connection_t *connection = xcbConnection();
    const auto window = static_cast<xcb_window_t>(widget.internalWinId());
    if (!connection || window == XCB_WINDOW_NONE)
        return std::nullopt;
    const XcbReply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    if (!geometry)
        return std::nullopt;
    const XcbReply<xcb_translate_coordinates_reply_t> position(xcb_translate_coordinates_reply(
        connection, xcb_translate_coordinates(connection, window, geometry->root, 0, 0), nullptr));
    if (!position)
        return std::nullopt;
    return QRect(toLogical(QPoint(position->dst_x, position->dst_y), screenShapes()), widget.size());
}

void keepOffTaskbars(QWidget &widget)
{
    xcb_connection_t *connection = xcbConnection();
    if (!connection)
        return;
    // Before the window shows, the toolkit adds its own states to these.
    const std::array states{xcbAtom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
                            xcbAtom(connection, "_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(widget.winId()),
                        xcbAtom(connection, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, states.size(),
                        states.data());
}

} // namespace kestrune
