// SPDX-License-Identifier: MIT
#include "statusbar/desktop/stripitem.h"

#include "platform/preferences.h"
#include "statusbar/desktop/windowplace.h"
#include "statusbar/wayland.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <limits>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString placeKey = u"ks_strip_pos"_s; // "X,Y" of the top right corner, logical
constexpr int edgeGap = 8;
constexpr auto managerTime = 1s; // to put a new window somewhere
constexpr int barDepth = 64;     // out of the way of a bar that is all a window may be moved

Qt::WindowFlags stripFlags()
{
    Qt::WindowFlags flags =
        Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus;
    // Under XWayland every managed window is placed by the compositor; only this kind keeps its place.
    if (!isWayland() && qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        flags |= Qt::X11BypassWindowManagerHint;
    return flags;
}

std::optional<QPoint> parsePlace(const QString &text)
{
    const QStringList parts = text.split(u',');
    if (parts.size() != 2)
        return std::nullopt;
    bool okX = false;
    bool okY = false;
    const QPoint point(parts[0].toInt(&okX), parts[1].toInt(&okY));
    constexpr int limit = 1 << 20; // keeps the arithmetic on it in range
    if (!okX || !okY || std::abs(point.x()) > limit || std::abs(point.y()) > limit)
        return std::nullopt;
    return point;
}

QList<QRect> availableAreas()
{
    QList<QRect> areas;
    if (const QScreen *primary = QGuiApplication::primaryScreen())
        areas.append(primary->availableGeometry());
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen != QGuiApplication::primaryScreen())
            areas.append(screen->availableGeometry());
    }
    return areas;
}

int distanceTo(const QRect &area, const QPoint &point)
{
    const int dx = std::max({area.left() - point.x(), 0, point.x() - area.right()});
    const int dy = std::max({area.top() - point.y(), 0, point.y() - area.bottom()});
    return dx + dy;
}

} // namespace

QPoint stripCorner(std::optional<QPoint> remembered, const QSize &size, const QList<QRect> &areas)
{
    if (areas.isEmpty())
        return remembered.value_or(QPoint());
    const QRect &first = areas.first();
    if (!remembered)
        return {first.x() + first.width() - edgeGap, first.y()};
    const QRect area = *std::min_element(areas.begin(), areas.end(), [&](const QRect &a, const QRect &b) {
        return distanceTo(a, *remembered) < distanceTo(b, *remembered);
    });
    const int end = area.x() + area.width();
    const int lastTop = std::max(area.y(), area.y() + area.height() - size.height());
    // A strip wider than the screen keeps its right end, where the text's digits are.
    return {std::clamp(remembered->x(), std::min(area.x() + size.width(), end), end),
            std::clamp(remembered->y(), area.y(), lastTop)};
}

StripItem::StripItem(Preferences &preferences)
    : m_preferences(preferences)
    , m_widget(std::make_unique<ItemWidget>(stripFlags(), ItemWidget::Ground::solid))
{
    m_widget->setAttribute(Qt::WA_ShowWithoutActivating);
    connect(m_widget.get(), &ItemWidget::resizeWanted, this, &StripItem::putInPlace);
    // Later: the window goes and comes again in there.
    connect(m_widget.get(), &ItemWidget::resized, this, &StripItem::watchSize, Qt::QueuedConnection);
    connect(m_widget.get(), &ItemWidget::clicked, this, [this] { Q_EMIT activated(currentPlace()); });
    connect(m_widget.get(), &ItemWidget::menuRequested, this, &StatusItem::contextMenuRequested);
    connect(m_widget.get(), &ItemWidget::dragged, this, &StripItem::beginOrContinueDrag);
    connect(m_widget.get(), &ItemWidget::dropped, this, &StripItem::endDrag);
    m_placeCheck.setSingleShot(true);
    connect(&m_placeCheck, &QTimer::timeout, this, &StripItem::watchPlace);
    const auto followScreen = [this](QScreen *screen) {
        connect(screen, &QScreen::availableGeometryChanged, this, &StripItem::putInPlace);
    };
    for (QScreen *screen : QGuiApplication::screens())
        followScreen(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this, followScreen](QScreen *screen) {
        followScreen(screen);
        putInPlace();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &StripItem::putInPlace, Qt::QueuedConnection);
}

StripItem::~StripItem() = default;

void StripItem::show(const StatusItemContent &content)
{
    m_widget->setContent(content);
    if (m_widget->isVisible())
        return;
    putInPlace();
    keepOffTaskbars(*m_widget);
    m_widget->show();
    m_placeCheck.start(managerTime);
}

std::optional<QRect> StripItem::place() const
{
    return currentPlace();
}

QRect StripItem::currentPlace() const
{
    return serverPlace(*m_widget).value_or(m_widget->frameGeometry());
}

void StripItem::putInPlace()
{
    const QSize size = m_widget->sizeHint();
    m_widget->setFixedSize(size);
    if (m_dragOrigin)
        return;
    const auto stored = m_preferences.text(placeKey);
    const QPoint corner = stripCorner(stored ? parsePlace(*stored) : std::nullopt, size, availableAreas());
    m_chosen = {corner.x() - size.width(), corner.y()};
    m_widget->move(m_chosen);
}

void StripItem::watchSize()
{
    // Tiling window managers give floating windows a least size and a frame.
    if (m_widget->isVisible() && m_widget->height() != m_widget->sizeHint().height())
        becomeForeignToManagers();
}

void StripItem::watchPlace()
{
    // Some put every new window where they like.
    const QPoint off = currentPlace().topLeft() - m_chosen;
    if (!m_dragOrigin && std::max(std::abs(off.x()), std::abs(off.y())) > barDepth)
        becomeForeignToManagers();
}

void StripItem::becomeForeignToManagers()
{
    if (isWayland() || m_widget->windowFlags().testFlag(Qt::X11BypassWindowManagerHint))
        return;                                              // none of them touches this kind
    m_widget->setWindowFlag(Qt::X11BypassWindowManagerHint); // hides it
    // Another window: the manager still moves the one that it lets go.
    if (QWindow *window = m_widget->windowHandle())
        window->destroy();
    m_widget->resize(m_widget->sizeHint());
    putInPlace();
    m_widget->show();
}

void StripItem::beginOrContinueDrag(const QPoint &distance)
{
    if (isWayland()) { // only the compositor can move a window there
        if (!m_dragOrigin && m_widget->windowHandle())
            m_widget->windowHandle()->startSystemMove();
        return;
    }
    if (!m_dragOrigin)
        m_dragOrigin = currentPlace().topLeft();
    m_chosen = *m_dragOrigin + distance;
    m_widget->move(m_chosen);
}

void StripItem::endDrag()
{
    if (!m_dragOrigin)
        return;
    m_dragOrigin.reset();
    const QSize size = m_widget->size();
    const QPoint corner = stripCorner(m_chosen + QPoint(size.width(), 0), size, availableAreas());
    m_preferences.setText(placeKey, u"%1,%2"_s.arg(corner.x()).arg(corner.y()));
    putInPlace();
}

} // namespace kestrune
