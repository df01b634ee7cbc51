// SPDX-License-Identifier: MIT
#include "ui/textbutton.h"

#include "ui/icons.h"
#include "ui/roundedrect.h"

#include <QPainter>

namespace kestrune {

namespace {

constexpr int buttonSideMargin = 8;
constexpr int buttonIconSide = 12;
constexpr int buttonIconGap = 4;

} // namespace

TextButton::TextButton(const QString &text, Look look, QWidget *parent) : FlatButton(parent), m_look(look)
{
    setText(text);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void TextButton::setIconName(const QString &icon)
{
    m_icon = icon;
    updateGeometry();
    update();
}

void TextButton::setTone(Tone tone)
{
    m_tone = tone;
    update();
}

void TextButton::setRole(TypeRole role)
{
    m_role = role;
    updateGeometry();
    update();
}

QSize TextButton::sizeHint() const
{
    const int icon = m_icon.isEmpty() ? 0 : buttonIconSide + buttonIconGap;
    return {textWidth(text(), m_role) + icon + 2 * buttonSideMargin, lineHeight(m_role) + 6};
}

void TextButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    paintGround(painter, rect(), focusRadius(), m_look == Look::raised ? palette.raised : QColor());
    if (m_look == Look::raised) // the ground alone is lost on a ground of nearly the same colour
        outlineRounded(painter, rect(), focusRadius(), blended(palette.hairline, palette.ground));
    const QColor color = palette.color(m_tone);
    double x = buttonSideMargin;
    if (!m_icon.isEmpty()) {
        drawIcon(painter, QRectF(x, (height() - buttonIconSide) / 2.0, buttonIconSide, buttonIconSide),
                 m_icon, palette.shapeColor(m_tone));
        x += buttonIconSide + buttonIconGap;
    }
    painter.setPen(color);
    drawTextLine(painter, QPointF(x, (height() - lineHeight(m_role)) / 2.0), text(), m_role);
}

} // namespace kestrune
