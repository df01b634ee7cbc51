#include "panel/divider.h"

#include "panel/accessibility.h"
#include "panel/palette.h"

#include <QPainter>

namespace kestrune {

Divider::Divider(QWidget *parent) : QWidget(parent)
{
    installPanelAccessibility();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Divider::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const double scale = painter.deviceTransform().m22();
    const double thickness = scale >= 2 ? 1 / scale : 1;
    painter.fillRect(QRectF(0, 0, width(), thickness), paletteOf(this).hairline);
}

} // namespace kestrune
