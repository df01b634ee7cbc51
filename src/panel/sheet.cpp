// SPDX-License-Identifier: MIT
#include "panel/sheet.h"

#include "ui/boxlayouts.h"
#include "ui/palette.h"

#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace kestrune {

QRect sheetGeometry(const QRect &panel, const QSize &size, const QRect &screen)
{
    const QPoint corner = panel.center() - QPoint(size.width() / 2, size.height() / 2);
    const int x =
        std::clamp(corner.x(), screen.left(), std::max(screen.left(), screen.right() + 1 - size.width()));
    const int y =
        std::clamp(corner.y(), screen.top(), std::max(screen.top(), screen.bottom() + 1 - size.height()));
    return {QPoint(x, y), size};
}

Sheet::Sheet(QWidget *panel, QWidget *view)
    : QWidget(panel, Qt::Popup | Qt::FramelessWindowHint), m_view(view)
{
    setAttribute(Qt::WA_WindowPropagation); // the panel's colours
    // The press that closes the sheet is spent: replayed, it would close the panel or press something.
    setAttribute(Qt::WA_NoMouseReplay);
    setAccessibleName(view->accessibleName());
    setWindowTitle(view->accessibleName());
    columnIn(this, 0)->addWidget(view);
}

void Sheet::openOver()
{
    QWidget *panel = parentWidget();
    const QRect over(panel->mapToGlobal(QPoint(0, 0)), panel->size());
    const QScreen *screen = panel->screen();
    setGeometry(sheetGeometry(over, m_view->size(), screen ? screen->availableGeometry() : over));
    show();
}

void Sheet::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    painter.fillRect(rect(), palette.ground);
    painter.setPen(QPen(blended(palette.hairline, palette.ground), 1));
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

} // namespace kestrune
