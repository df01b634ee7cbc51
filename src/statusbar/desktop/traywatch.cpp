// SPDX-License-Identifier: MIT
#include "statusbar/desktop/traywatch.h"

#include <QGuiApplication>

namespace kestrune {

namespace {

/// Number and root window of the display's default screen.
std::pair<int, xcb_window_t> defaultScreen(xcb_connection_t *connection)
{
    char *host = nullptr;
    int display = 0;
    int number = 0;
    if (xcb_parse_display(nullptr, &host, &display, &number))
        std::free(host);
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < number && screen.rem > 1; ++i)
        xcb_screen_next(&screen);
    return {number, screen.rem > 0 ? screen.data->root : xcb_window_t{XCB_WINDOW_NONE}};
}

} // namespace

TrayWatch::TrayWatch()
{
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    m_connection = x11 ? x11->connection() : nullptr;
    if (!m_connection)
        return; // other platforms may have the interface and nothing behind it
    const auto [number, root] = defaultScreen(m_connection);
    m_root = root;
    m_atoms.selection = atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(number));
    m_atoms.manager = atom("MANAGER");
    m_atoms.opcode = atom("_NET_SYSTEM_TRAY_OPCODE");
    m_atoms.colors = atom("_NET_SYSTEM_TRAY_COLORS");
    m_atoms.embedInfo = atom("_XEMBED_INFO");
    qApp->installNativeEventFilter(this);
    select(m_root, XCB_EVENT_MASK_STRUCTURE_NOTIFY); // a new tray announces itself there
    findOwner();
}

TrayWatch::~TrayWatch()
{
    if (m_connection && qApp)
        qApp->removeNativeEventFilter(this);
}

xcb_atom_t TrayWatch::atom(const QByteArray &name) const
{
    const auto cookie =
        xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(name.size()), name.constData());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void TrayWatch::select(xcb_window_t window, uint32_t events) const
{
    // The toolkit listens to some windows on this very connection, so its events are kept.
    const XcbReply<xcb_get_window_attributes_reply_t> now(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    const uint32_t mask = (now ? now->your_event_mask : 0) | events;
    const auto cookie = xcb_change_window_attributes_checked(m_connection, window, XCB_CW_EVENT_MASK, &mask);
    // A window may be gone already; unchecked, that error would be printed by the toolkit.
    const XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection, cookie));
}

void TrayWatch::findOwner()
{
    // Between the two requests the owner must not go away unseen.
    xcb_grab_server(m_connection);
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, m_atoms.selection), nullptr));
    m_owner = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
    if (m_owner != XCB_WINDOW_NONE)
        select(m_owner, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
    xcb_ungrab_server(m_connection);
    xcb_flush(m_connection);
    readTextColor();
}

void TrayWatch::readTextColor()
{
    m_textColor.reset();
    if (m_owner == XCB_WINDOW_NONE)
        return;
    // Twelve numbers of 16 bits: red, green and blue of text, error, warning and success.
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, m_owner, m_atoms.colors, XCB_ATOM_CARDINAL, 0, 12),
        nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 12)
        return;
    const auto *color = static_cast<const uint32_t *>(xcb_get_property_value(reply.get()));
    const auto channel = [color](int i) { return static_cast<int>(color[i] >> 8 & 0xff); };
    m_textColor = QColor(channel(0), channel(1), channel(2));
}

bool TrayWatch::nativeEventFilter(const QByteArray &type, void *message, qintptr *)
{
    if (type != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    switch (event->response_type & 0x7f) {
    case XCB_CLIENT_MESSAGE: {
        const auto *client = reinterpret_cast<const xcb_client_message_event_t *>(event);
        if (client->type != m_atoms.manager || client->data.data32[1] != m_atoms.selection)
            break;
        findOwner();
        Q_EMIT ownerChanged();
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (m_owner == XCB_WINDOW_NONE ||
            reinterpret_cast<const xcb_destroy_notify_event_t *>(event)->window != m_owner)
            break;
        findOwner(); // a successor may be there already
        Q_EMIT ownerChanged();
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto *property = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (property->window != m_owner || property->atom != m_atoms.colors)
            break;
        readTextColor();
        Q_EMIT textColorChanged();
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto *reparent = reinterpret_cast<const xcb_reparent_notify_event_t *>(event);
        Q_EMIT reparented(reparent->window, reparent->parent);
        break;
    }
    default:
        break;
    }
    return false; // the toolkit sees everything too
}

} // namespace kestrune
