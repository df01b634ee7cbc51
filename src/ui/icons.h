// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QRectF>
#include <QString>

class QPainter;

namespace kestrune {

/// True when the set has an icon of this name ("bell.fill").
[[nodiscard]] bool hasIcon(const QString &name);

/// Draws an icon of the project's set in one colour into a square, on whole device pixels at any scale of
/// the painter. An unknown name draws nothing.
void drawIcon(QPainter &painter, const QRectF &square, const QString &name, const QColor &color);

} // namespace kestrune
