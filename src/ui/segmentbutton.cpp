// SPDX-License-Identifier: MIT
#include "ui/segmentbutton.h"

#include "ui/typography.h"

#include <QPainter>

namespace kestrune {

namespace {

constexpr int segmentSideMargin = 7;
constexpr int segmentTopMargin = 2;
constexpr double borderWidth = 0.5;

} // namespace

SegmentButton::SegmentButton(const QString &text, QWidget *parent) : FlatButton(parent)
{
    setText(text);
    setCheckable(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SegmentButton::sizeHint() const
{
    return {textWidth(text(), TypeRole::captionBold) + 2 * segmentSideMargin,
            lineHeight(TypeRole::captionBold) + 2 * segmentTopMargin};
}

void SegmentButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    paintGround(painter, rect(), focusRadius(), isChecked() ? palette.accentFill : QColor());
    QColor border = palette.secondary;
    border.setAlphaF(0.25F);
    painter.setPen(QPen(border, borderWidth));
    painter.setBrush(Qt::NoBrush);
    const double inset = borderWidth / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), focusRadius() - inset,
                            focusRadius() - inset);
    painter.setPen(isChecked() ? QColor(Qt::white) : palette.secondary);
    const double x = (width() - textWidth(text(), TypeRole::captionBold)) / 2.0;
    drawTextLine(painter, QPointF(x, segmentTopMargin), text(), TypeRole::captionBold);
}

} // namespace kestrune
