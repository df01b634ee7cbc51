// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

/// A screen as the window system counts it and as the toolkit does: the logical rectangle has the same top
/// left corner and a size divided by the scale factor.
struct ScreenShape
{
    QRect logical;
    double scale = 1;
};

/// The screens as they are now.
[[nodiscard]] std::vector<ScreenShape> screenShapes();

/// A position in the window system's pixels as a logical one, on the screen that holds it.
[[nodiscard]] QPoint toLogical(const QPoint &native, std::span<const ScreenShape> screens);

/// Where a panel of `wanted` size opens for an item at `item`: centred under the item's right end, above it
/// when the item sits at the lower edge, inside `available`, and never taller than there is room.
[[nodiscard]] QRect placePanel(const QRect &item, const QSize &wanted, const QRect &available);

/// The place of an item whose host only passes on where the click was: `given` when it can be trusted, that
/// is when it lies at an edge of one of the screens and the pointer is near it. Some hosts give coordinates
/// inside their own window.
[[nodiscard]] std::optional<QRect> anchorOfClick(const QPoint &given, const QPoint &pointer,
                                                 std::span<const ScreenShape> screens);

/// The item's place, if any of it lies on a screen: a tray keeps what it has not laid out yet far outside.
[[nodiscard]] std::optional<QRect> placeInSight(const QRect &item, std::span<const ScreenShape> screens);

/// Stands for an item that nobody can place: the corner of the free area nearest to the bar, else the top
/// right one. Where the whole screen counts as free, as under XWayland, room is left for a bar that cannot be
/// seen from here.
[[nodiscard]] QRect cornerAnchor(const QRect &available, const QRect &screen);

} // namespace kestrune
