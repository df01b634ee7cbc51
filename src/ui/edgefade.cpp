// SPDX-License-Identifier: MIT
#include "ui/edgefade.h"

#include "ui/palette.h"

#include <QLinearGradient>
#include <QPainter>

namespace kestrune {

EdgeFade::EdgeFade(Qt::Edge edge, QWidget *parent) : QWidget(parent), m_edge(edge)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    hide();
}

void EdgeFade::placeIn(const QRect &area)
{
    QRect strip = area;
    switch (m_edge) {
    case Qt::TopEdge:
        strip.setHeight(depth);
        break;
    case Qt::BottomEdge:
        strip.setTop(area.bottom() + 1 - depth);
        break;
    case Qt::LeftEdge:
        strip.setWidth(depth);
        break;
    case Qt::RightEdge:
        strip.setLeft(area.right() + 1 - depth);
        break;
    }
    setGeometry(strip);
    raise();
}

void EdgeFade::paintEvent(QPaintEvent *)
{
    const QPointF begin(m_edge == Qt::RightEdge ? width() : 0, m_edge == Qt::BottomEdge ? height() : 0);
    const QPointF end(m_edge == Qt::LeftEdge ? width() : 0, m_edge == Qt::TopEdge ? height() : 0);
    QColor ground = paletteOf(this).ground;
    QLinearGradient gradient(begin, end);
    gradient.setColorAt(0, ground);
    ground.setAlpha(0);
    gradient.setColorAt(1, ground);
    QPainter painter(this);
    painter.fillRect(rect(), gradient);
}

} // namespace kestrune
