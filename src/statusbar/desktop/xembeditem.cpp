// SPDX-License-Identifier: MIT
#include "statusbar/desktop/xembeditem.h"

#include "statusbar/desktop/windowplace.h"
#include "statusbar/panelplacement.h"

#include <cmath>
#include <limits>

using namespace std::chrono_literals;

namespace kestrune {

namespace {

constexpr auto dockLimit = 2s;   // without a price on the screen
constexpr auto resizeLimit = 1s; // a tray lays itself out again within that
constexpr int leastHeight = 14;  // the letters themselves; below this they are cut
constexpr uint32_t requestDock = 0;
constexpr uint32_t embedVersion = 0;
constexpr uint32_t embedMapped = 1;

} // namespace

XEmbedItem::XEmbedItem(TrayWatch &watch)
    : m_watch(watch)
    , m_widget(std::make_unique<ItemWidget>(Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint,
                                            ItemWidget::Ground::transparent))
{
    m_check.setSingleShot(true);
    connect(&m_check, &QTimer::timeout, this, &XEmbedItem::checkSize);
    connect(&m_watch, &TrayWatch::reparented, this, &XEmbedItem::reparented);
    connect(m_widget.get(), &ItemWidget::resizeWanted, this, &XEmbedItem::applySize);
    connect(m_widget.get(), &ItemWidget::resized, this, &XEmbedItem::checkSizeLater);
    connect(m_widget.get(), &ItemWidget::clicked, this,
            [this] { Q_EMIT activated(place().value_or(QRect(QCursor::pos(), QSize(1, 1)))); });
    connect(m_widget.get(), &ItemWidget::menuRequested, this, &StatusItem::contextMenuRequested);
}

XEmbedItem::~XEmbedItem() = default;

void XEmbedItem::show(const StatusItemContent &content)
{
    m_widget->setContent(content);
    if (m_window == XCB_WINDOW_NONE)
        dock(); // with the first picture, so that the tray sees the right width from the start
}

void XEmbedItem::dock()
{
    m_widget->setFixedSize(m_widget->sizeHint());
    m_window = static_cast<xcb_window_t>(m_widget->winId());
    setMapped(false); // the toolkit maps it, once it is in its place
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = m_watch.owner();
    request.type = m_watch.atoms().opcode;
    request.data.data32[0] = XCB_CURRENT_TIME;
    request.data.data32[1] = requestDock;
    request.data.data32[2] = m_window;
    xcb_connection_t *connection = m_watch.connection();
    const auto cookie = xcb_send_event_checked(connection, 0, m_watch.owner(), XCB_EVENT_MASK_NO_EVENT,
                                               reinterpret_cast<const char *>(&request));
    const XcbReply<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
    m_check.start(dockLimit);
}

void XEmbedItem::setMapped(bool mapped)
{
    const uint32_t info[]{embedVersion, mapped ? embedMapped : 0};
    const xcb_atom_t atom = m_watch.atoms().embedInfo;
    xcb_change_property(m_watch.connection(), XCB_PROP_MODE_REPLACE, m_window, atom, atom, 32, 2, info);
    xcb_flush(m_watch.connection());
}

void XEmbedItem::reparented(quint32 window, quint32 parent)
{
    if (window != m_window || m_window == XCB_WINDOW_NONE)
        return;
    if (parent == m_watch.root()) {
        // Thrown out, or the tray ends; its end is reported by the watch.
        m_widget->hide();
        if (m_docked)
            m_check.start(resizeLimit);
        m_docked = false;
        return;
    }
    if (m_docked)
        return;
    m_docked = true;
    m_wasDocked = true;
    m_widget->show();
    setMapped(true);
    checkSizeLater();
    Q_EMIT docked();
}

void XEmbedItem::applySize()
{
    if (m_window == XCB_WINDOW_NONE)
        return;
    m_widget->setFixedSize(QSize(m_widget->sizeHint().width(), m_height));
    checkSizeLater();
}

void XEmbedItem::checkSizeLater()
{
    if (m_docked)
        m_check.start(resizeLimit);
}

std::optional<QSize> XEmbedItem::visibleSize() const
{
    // The window may be wider than the place that the tray gives it, which is the size of its parent.
    xcb_connection_t *connection = m_watch.connection();
    const auto treeOf = [connection](xcb_window_t window) {
        return XcbReply<xcb_query_tree_reply_t>(
            xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
    };
    const auto tree = treeOf(m_window);
    if (!tree)
        return std::nullopt;
    // Some trays only copy from a window of theirs which lies unseen on the desktop, squeezed into a square.
    const auto above = treeOf(tree->parent);
    const QByteArray opacity = xcbProperty(connection, tree->parent, m_watch.atoms().opacity);
    if (above && above->parent == m_watch.root() && opacity == QByteArray(sizeof(uint32_t), '\0'))
        return QSize();
    QSize size(std::numeric_limits<int>::max(), std::numeric_limits<int>::max());
    for (const xcb_window_t window : {m_window, tree->parent}) {
        const XcbReply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
        if (!geometry)
            return std::nullopt;
        size = size.boundedTo(QSize(geometry->width, geometry->height));
    }
    return size;
}

void XEmbedItem::checkSize()
{
    if (!m_docked) {
        if (m_wasDocked)
            Q_EMIT squeezed();
        else
            Q_EMIT unanswered();
        return;
    }
    const auto size = visibleSize();
    if (!size)
        return;
    // The toolkit rounds; a tray that squeezes takes far more than a pixel.
    const double scale = m_widget->devicePixelRatioF();
    if (size->width() >= std::floor(m_widget->sizeHint().width() * scale) - 1)
        return;
    // A tray lower than the item may make it narrower in proportion; asked for at its own height it does not.
    const int granted = static_cast<int>(size->height() / scale);
    if (granted >= m_height || granted < leastHeight) {
        Q_EMIT squeezed();
        return;
    }
    m_height = granted;
    applySize();
}

std::optional<QRect> XEmbedItem::place() const
{
    if (!m_docked)
        return std::nullopt;
    const auto where = serverPlace(*m_widget);
    return where ? placeInSight(*where, screenShapes()) : std::nullopt;
}

} // namespace kestrune
