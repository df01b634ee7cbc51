// SPDX-License-Identifier: MIT
#pragma once

class QImage;
class QPainter;
class QPointF;

namespace kestrune {

/// Device pixels per unit of the painter's coordinates.
[[nodiscard]] double deviceScale(const QPainter &painter);
/// Draws an image pixel for pixel, its top left corner on the whole device pixel nearest to `topLeft`, so
/// that it stays sharp at every scale. A turned or sheared painter scales it instead.
void drawPixelForPixel(QPainter &painter, const QPointF &topLeft, const QImage &image);

} // namespace kestrune
