// SPDX-License-Identifier: MIT
#include "statusbar/desktop/managerwatch.h"

#include <QGuiApplication>

#include <utility>

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

xcb_connection_t *xcbConnection()
{
    // Other platforms may have the interface and nothing behind it.
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t xcbAtom(xcb_connection_t *connection, const QByteArray &name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.constData());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

QByteArray xcbProperty(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property)
{
    constexpr uint32_t words = 16384;
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, XCB_ATOM_ANY, 0, words), nullptr));
    if (!reply)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

ManagerWatch::ManagerWatch(const QByteArray &selection, const QByteArray &property)
    : m_connection(xcbConnection())
{
    if (!m_connection)
        return;
    const auto [number, root] = defaultScreen(m_connection);
    m_root = root;
    m_selection = xcbAtom(m_connection, selection + QByteArray::number(number));
    m_manager = xcbAtom(m_connection, "MANAGER");
    m_property = xcbAtom(m_connection, property);
    qApp->installNativeEventFilter(this);
    select(m_root, XCB_EVENT_MASK_STRUCTURE_NOTIFY); // a new manager announces itself there
    findOwner();
}

ManagerWatch::~ManagerWatch()
{
    if (m_connection && qApp)
        qApp->removeNativeEventFilter(this);
}

QByteArray ManagerWatch::value() const
{
    return m_owner == XCB_WINDOW_NONE ? QByteArray() : xcbProperty(m_connection, m_owner, m_property);
}

void ManagerWatch::select(xcb_window_t window, uint32_t events) const
{
    // The toolkit listens to some windows on this very connection, so its events are kept.
    const XcbReply<xcb_get_window_attributes_reply_t> now(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    const uint32_t mask = (now ? now->your_event_mask : 0) | events;
    const auto cookie = xcb_change_window_attributes_checked(m_connection, window, XCB_CW_EVENT_MASK, &mask);
    // A window may be gone already; unchecked, that error would be printed by the toolkit.
    const XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection, cookie));
}

void ManagerWatch::findOwner()
{
    // Between the two requests the owner must not go away unseen.
    xcb_grab_server(m_connection);
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr));
    m_owner = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
    if (m_owner != XCB_WINDOW_NONE)
        select(m_owner, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
    xcb_ungrab_server(m_connection);
    xcb_flush(m_connection);
}

bool ManagerWatch::nativeEventFilter(const QByteArray &type, void *message, qintptr *)
{
    if (type == "xcb_generic_event_t")
        heard(static_cast<const xcb_generic_event_t *>(message));
    return false; // the toolkit sees everything too
}

void ManagerWatch::heard(const xcb_generic_event_t *event)
{
    switch (event->response_type & 0x7f) {
    case XCB_CLIENT_MESSAGE: {
        const auto *client = reinterpret_cast<const xcb_client_message_event_t *>(event);
        if (client->type != m_manager || client->data.data32[1] != m_selection)
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
        if (property->window == m_owner && property->atom == m_property)
            Q_EMIT valueChanged();
        break;
    }
    default:
        break;
    }
}

} // namespace kestrune
