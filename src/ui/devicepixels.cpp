// SPDX-License-Identifier: MIT
#include "ui/devicepixels.h"

#include <QImage>
#include <QPainter>

#include <cmath>

namespace kestrune {

double deviceScale(const QPainter &painter)
{
    const QTransform toDevice = painter.deviceTransform();
    return std::hypot(toDevice.m11(), toDevice.m12());
}

void drawPixelForPixel(QPainter &painter, const QPointF &topLeft, const QImage &image)
{
    const QTransform toDevice = painter.deviceTransform();
    const double scale = deviceScale(painter);
    if (image.isNull() || !(scale > 0))
        return;
    QPointF corner = topLeft;
    if (toDevice.type() <= QTransform::TxScale) {
        const QPointF exact = toDevice.map(topLeft);
        corner = toDevice.inverted().map(QPointF(std::round(exact.x()), std::round(exact.y())));
    }
    painter.drawImage(QRectF(corner, QSizeF(image.size()) / scale), image, image.rect());
}

} // namespace kestrune
