// SPDX-License-Identifier: MIT
#include "ui/iconbutton.h"

#include "ui/icons.h"

#include <QPainter>

namespace kestrune {

IconButton::IconButton(QString icon, QWidget *parent) : FlatButton(parent), m_icon(std::move(icon))
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void IconButton::setIconName(const QString &icon)
{
    if (m_icon == icon)
        return;
    m_icon = icon;
    update();
}

void IconButton::setTone(Tone tone)
{
    if (m_tone == tone)
        return;
    m_tone = tone;
    update();
}

void IconButton::setIconSide(int side)
{
    m_side = side;
    update();
}

void IconButton::setRaised(bool raised)
{
    m_raised = raised;
    update();
}

void IconButton::setTip(const QString &tip)
{
    if (toolTip() == tip)
        return;
    setToolTip(tip);
    setAccessibleName(tip);
}

void IconButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    paintGround(painter, rect(), focusRadius(), m_raised ? palette.raised : QColor());
    // A secondary icon wakes up under the pointer.
    const bool awake = m_tone == Tone::secondary && veilLevel() > 0;
    QColor color = palette.shapeColor(awake ? Tone::text : m_tone);
    if (!isEnabled())
        color.setAlphaF(0.4F);
    const QRectF square((width() - m_side) / 2.0, (height() - m_side) / 2.0, m_side, m_side);
    drawIcon(painter, square, m_icon, color);
}

} // namespace kestrune
