// SPDX-License-Identifier: MIT
#pragma once

#include <QBrush>
#include <QRectF>

class QPainter;

namespace kestrune {

/// A smooth rounded rectangle without an outline.
void fillRounded(QPainter &painter, const QRectF &shape, double radius, const QBrush &ground);
/// The same with an outline of `width` just inside `shape`; `radius` is that of the outline's middle.
void outlineRounded(QPainter &painter, const QRectF &shape, double radius, const QColor &outline,
                    const QBrush &ground = {}, double width = 1);

} // namespace kestrune
