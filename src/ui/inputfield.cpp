// SPDX-License-Identifier: MIT
#include "ui/inputfield.h"

#include "ui/palette.h"
#include "ui/roundedrect.h"
#include "ui/typography.h"

#include <QEvent>
#include <QPainter>

namespace kestrune {

namespace {

constexpr double fieldRadius = 6;
constexpr int fieldHeight = 26;
constexpr int fieldSideMargin = 6;

} // namespace

InputField::InputField(const QString &name, QWidget *parent) : QLineEdit(parent)
{
    setAccessibleName(name);
    setFrame(false);
    setFont(fontFor(TypeRole::body));
    setTextMargins(fieldSideMargin, 0, fieldSideMargin, 0);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    takeColours();
}

void InputField::showText(const QString &text)
{
    if (this->text() != text)
        setText(text);
}

double InputField::focusRadius() const
{
    return fieldRadius;
}

QSize InputField::sizeHint() const
{
    return {120, fieldHeight};
}

QSize InputField::minimumSizeHint() const
{
    return {40, fieldHeight};
}

void InputField::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(this);
        const Palette &colours = paletteOf(this);
        const QColor border = hasFocus() ? colours.accent : blended(colours.hairline, colours.ground);
        outlineRounded(painter, rect(), fieldRadius, border, colours.field);
    }
    QLineEdit::paintEvent(event);
}

void InputField::changeEvent(QEvent *event)
{
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        takeColours();
}

// The style would fill the whole rectangle; the rounded ground above is the field's own.
void InputField::takeColours()
{
    if (palette().color(QPalette::Base).alpha() == 0)
        return;
    QPalette colours = palette();
    colours.setColor(QPalette::Base, Qt::transparent);
    setPalette(colours);
}

} // namespace kestrune
