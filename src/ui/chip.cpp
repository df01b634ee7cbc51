// SPDX-License-Identifier: MIT
#include "ui/chip.h"

#include "ui/roundedrect.h"
#include "ui/typography.h"

#include <QPainter>

namespace kestrune {

namespace {

constexpr auto chipRole = TypeRole::captionBold;
constexpr double segmentBorder = 0.5;

} // namespace

Chip::Chip(const QString &text, Look look, QWidget *parent) : FlatButton(parent), m_look(look)
{
    setText(text);
    setCheckable(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

double Chip::focusRadius() const
{
    return m_look == Look::pill ? height() / 2.0 : FlatButton::focusRadius();
}

QSize Chip::sizeHint() const
{
    const int words = textWidth(text(), chipRole);
    return m_look == Look::pill ? QSize(words + 20, 24) : QSize(words + 14, lineHeight(chipRole) + 4);
}

void Chip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    QColor words = palette.secondary;
    if (m_look == Look::pill) {
        paintGround(painter, rect(), focusRadius(), isChecked() ? palette.accentSoft : palette.raised);
        if (isChecked())
            words = palette.blue; // the accent itself is too faint on its soft ground
    } else {
        paintGround(painter, rect(), focusRadius(), isChecked() ? palette.accentFill : QColor());
        QColor border = palette.secondary;
        border.setAlphaF(0.25F);
        outlineRounded(painter, rect(), focusRadius() - segmentBorder / 2, border, {}, segmentBorder);
        if (isChecked())
            words = Qt::white;
    }
    painter.setPen(words);
    const double x = (width() - textWidth(text(), chipRole)) / 2.0;
    drawTextLine(painter, QPointF(x, (height() - lineHeight(chipRole)) / 2.0), text(), chipRole);
}

} // namespace kestrune
