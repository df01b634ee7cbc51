// SPDX-License-Identifier: MIT
#include "ui/chip.h"

#include "ui/typography.h"

#include <QPainter>

namespace kestrune {

Chip::Chip(const QString &text, QWidget *parent) : FlatButton(parent)
{
    setText(text);
    setCheckable(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Chip::sizeHint() const
{
    return {textWidth(text(), TypeRole::captionBold) + 20, 24};
}

void Chip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    paintGround(painter, rect(), focusRadius(), isChecked() ? palette.accentSoft : palette.raised);
    // The accent itself is too faint on its soft ground, the blue of the tags is not.
    painter.setPen(isChecked() ? palette.blue : palette.secondary);
    const double x = (width() - textWidth(text(), TypeRole::captionBold)) / 2.0;
    drawTextLine(painter, QPointF(x, (height() - lineHeight(TypeRole::captionBold)) / 2.0), text(),
                 TypeRole::captionBold);
}

} // namespace kestrune
