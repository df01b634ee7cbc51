// SPDX-License-Identifier: MIT
#include "statusbar/panelplacement.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace kestrune {

namespace {

constexpr int anchorWidth = 340;      // the panel hangs under at most this much of the item, its right end
constexpr int leastPanelHeight = 480; // below this the panel rather covers its item
constexpr int edgeDepth = 64;         // a bar is not thicker
constexpr int unseenBar = 32;
// A host may give a corner of a wide item instead of the pointer's place.
constexpr int hostSlackX = 480;
constexpr int hostSlackY = 64;

QRect nativeRect(const ScreenShape &screen)
{
    return {screen.logical.topLeft(),
            QSize(static_cast<int>(std::lround(screen.logical.width() * screen.scale)),
                  static_cast<int>(std::lround(screen.logical.height() * screen.scale)))};
}

bool nearEdge(const QPoint &point, const QRect &screen)
{
    return screen.contains(point) &&
           !screen.adjusted(edgeDepth, edgeDepth, -edgeDepth, -edgeDepth).contains(point);
}

} // namespace

std::vector<ScreenShape> screenShapes()
{
    std::vector<ScreenShape> shapes;
    for (const QScreen *screen : QGuiApplication::screens())
        shapes.push_back({screen->geometry(), screen->devicePixelRatio()});
    return shapes;
}

QPoint toLogical(const QPoint &native, std::span<const ScreenShape> screens)
{
    for (const ScreenShape &screen : screens) {
        if (!nativeRect(screen).contains(native))
            continue;
        const QPointF inside(native - screen.logical.topLeft());
        return screen.logical.topLeft() + (inside / screen.scale).toPoint();
    }
    return native;
}

QRect placePanel(const QRect &item, const QSize &wanted, const QRect &available)
{
    const int anchor = std::min(item.width(), anchorWidth);
    const int middle = item.x() + item.width() - anchor / 2;
    const int end = available.y() + available.height(); // first line below the free area
    const int roomBelow = end - std::max(item.y() + item.height(), available.y());
    const int roomAbove = std::min(item.y(), end) - available.y();
    const int enough = std::min(wanted.height(), leastPanelHeight);
    const bool below = roomBelow >= enough || roomBelow >= roomAbove;
    const int room = std::max(below ? roomBelow : roomAbove, std::min(available.height(), enough));
    const int height = std::min({wanted.height(), room, available.height()});
    const int width = std::min(wanted.width(), available.width());
    const int x = std::clamp(middle - width / 2, available.x(), available.x() + available.width() - width);
    const int y =
        std::clamp(below ? item.y() + item.height() : item.y() - height, available.y(), end - height);
    return {x, y, width, height};
}

std::optional<QRect> anchorOfClick(const QPoint &given, const QPoint &pointer,
                                   std::span<const ScreenShape> screens)
{
    const bool atEdge = std::any_of(screens.begin(), screens.end(), [&](const ScreenShape &screen) {
        return nearEdge(given, screen.logical);
    });
    const QPoint off = given - pointer;
    if (!atEdge || std::abs(off.x()) > hostSlackX || std::abs(off.y()) > hostSlackY)
        return std::nullopt;
    return QRect(given, QSize(1, 1));
}

std::optional<QRect> placeInSight(const QRect &item, std::span<const ScreenShape> screens)
{
    const bool inSight = std::any_of(screens.begin(), screens.end(), [&](const ScreenShape &screen) {
        return screen.logical.intersects(item);
    });
    return inSight ? std::optional(item) : std::nullopt;
}

QRect cornerAnchor(const QRect &available, const QRect &screen)
{
    // The bar takes its depth from the free area.
    const int lowerEnd = available.y() + available.height();
    const bool low = screen.y() + screen.height() - lowerEnd > available.y() - screen.y();
    const int depth = available == screen ? unseenBar : 0;
    const int right = available.x() + available.width();
    const bool atLeft = available.x() - screen.x() > screen.x() + screen.width() - right;
    return {atLeft ? available.x() : right - 1, low ? lowerEnd : available.y(), 1, depth};
}

} // namespace kestrune
