#include "panel/flatbutton.h"

#include "panel/accessibility.h"

#include <QKeyEvent>
#include <QPainter>

namespace kestrune {

FlatButton::FlatButton(QWidget *parent) : QAbstractButton(parent), m_fade(*this)
{
    installPanelAccessibility();
    setFocusPolicy(Qt::TabFocus);
    connect(this, &QAbstractButton::pressed, this, [this] { m_fade.setPressed(true); });
    connect(this, &QAbstractButton::released, this, [this] { m_fade.setPressed(false); });
}

bool FlatButton::event(QEvent *event)
{
    m_fade.handle(*event);
    return QAbstractButton::event(event);
}

void FlatButton::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (!event->isAutoRepeat())
            click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void FlatButton::paintGround(QPainter &painter, const QRectF &shape, double radius,
                             const QColor &ground) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (ground.isValid()) {
        painter.setBrush(ground);
        painter.drawRoundedRect(shape, radius, radius);
    }
    if (m_fade.level() > 0) {
        painter.setBrush(paletteOf(this).veil(m_fade.level()));
        painter.drawRoundedRect(shape, radius, radius);
    }
}

} // namespace kestrune
