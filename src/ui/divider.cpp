// SPDX-License-Identifier: MIT
#include "ui/divider.h"

#include "ui/palette.h"

#include <QPainter>

namespace kestrune {

Divider::Divider(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Divider::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    // A single row of the device's pixels at every scale.
    const QTransform toDevice = painter.deviceTransform();
    QRectF line = toDevice.mapRect(QRectF(rect()));
    line.moveTop(std::round(line.top()));
    line.setHeight(1);
    painter.fillRect(toDevice.inverted().mapRect(line), paletteOf(this).hairline);
}

} // namespace kestrune
