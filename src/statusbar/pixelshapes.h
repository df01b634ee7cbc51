// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QRectF>

class QImage;

namespace kestrune {

// Antialiased shapes straight into a premultiplied 32-bit image. The toolkit's rasteriser hands fills of this
// size to a thread pool, which costs more than the drawing; these stay on the calling thread. Coordinates
// are pixels, y downward; what lies outside the image is cut.

/// Fills a rectangle with rounded corners; half a side as radius makes a disc.
void fillRoundedRect(QImage &image, const QRectF &shape, double radius, const QColor &color);
/// Strokes its outline, `lineWidth` wide, centred on the edge.
void strokeRoundedRect(QImage &image, const QRectF &shape, double radius, double lineWidth,
                       const QColor &color);

} // namespace kestrune
