// SPDX-License-Identifier: MIT
#include "ui/iconlabel.h"

#include "ui/icons.h"

#include <QPainter>

namespace kestrune {

IconLabel::IconLabel(QString icon, Tone tone, int side, QWidget *parent)
    : QWidget(parent), m_icon(std::move(icon)), m_tone(tone), m_side(side)
{
    setFixedSize(side, side);
}

void IconLabel::setIconName(const QString &icon)
{
    if (m_icon == icon)
        return;
    m_icon = icon;
    update();
}

void IconLabel::setTone(Tone tone)
{
    if (m_tone == tone)
        return;
    m_tone = tone;
    update();
}

void IconLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRectF square((width() - m_side) / 2.0, (height() - m_side) / 2.0, m_side, m_side);
    drawIcon(painter, square, m_icon, paletteOf(this).color(m_tone));
}

} // namespace kestrune
