#include "panel/divider.h"

#include "panel/accessibility.h"
#include "panel/palette.h"

#include <QPainter>

#include <cmath>

namespace kestrune {

Divider::Divider(QWidget *parent) : QWidget(parent)
{
    installPanelAccessibility();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Divider::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const double scale = std::max(painter.deviceTransform().m22(), 0.01);
    const double thickness = std::max(std::floor(scale), 1.0) > 1 ? 1 / scale : 1;
    painter.fillRect(QRectF(0, 0, width(), thickness), paletteOf(this).hairline);
}

} // namespace kestrune
