// SPDX-License-Identifier: MIT
#include "ui/toggleswitch.h"

#include "ui/roundedrect.h"
#include "ui/typography.h"

#include <QPainter>

namespace kestrune {

namespace {

constexpr int switchWidth = 30;
constexpr int trackHeight = 18;
constexpr double knobInset = 2;

} // namespace

ToggleSwitch::ToggleSwitch(const QString &text, QWidget *parent) : FlatButton(parent)
{
    setText(text);
    setCheckable(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize ToggleSwitch::sizeHint() const
{
    return {textWidth(text(), TypeRole::caption) + 8 + switchWidth, 24};
}

void ToggleSwitch::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    painter.setOpacity(isEnabled() ? 1 : 0.45);
    painter.setPen(palette.text);
    const int top = (height() - lineHeight(TypeRole::caption)) / 2; // a whole pixel
    drawTextLine(painter, QPointF(0, top), text(), TypeRole::caption);
    const QRectF track(width() - switchWidth, (height() - trackHeight) / 2.0, switchWidth, trackHeight);
    const double radius = trackHeight / 2.0;
    if (!isChecked()) // off needs an outline to be seen on either ground
        outlineRounded(painter, track, radius - 0.5, palette.secondary, palette.raised);
    paintGround(painter, track, radius, isChecked() ? palette.accentFill : QColor());
    const double side = trackHeight - 2 * knobInset;
    const double x = isChecked() ? track.right() - knobInset - side : track.left() + knobInset;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? QColor(Qt::white) : palette.secondary);
    painter.drawEllipse(QRectF(x, track.top() + knobInset, side, side).adjusted(1, 1, -1, -1));
}

} // namespace kestrune
