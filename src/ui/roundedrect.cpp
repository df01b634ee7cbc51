// SPDX-License-Identifier: MIT
#include "ui/roundedrect.h"

#include <QPainter>

namespace kestrune {

namespace {

void draw(QPainter &painter, const QRectF &shape, double radius, const QPen &pen, const QBrush &ground)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(pen);
    painter.setBrush(ground);
    painter.drawRoundedRect(shape, radius, radius);
}

} // namespace

void fillRounded(QPainter &painter, const QRectF &shape, double radius, const QBrush &ground)
{
    draw(painter, shape, radius, Qt::NoPen, ground);
}

void outlineRounded(QPainter &painter, const QRectF &shape, double radius, const QColor &outline,
                    const QBrush &ground, double width)
{
    const double half = width / 2;
    draw(painter, shape.adjusted(half, half, -half, -half), radius, QPen(outline, width), ground);
}

} // namespace kestrune
