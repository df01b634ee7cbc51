// SPDX-License-Identifier: MIT
#include "ui/inputfield.h"

#include "ui/palette.h"
#include "ui/roundedrect.h"
#include "ui/typography.h"

#include <QKeyEvent>
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
    connect(this, &QLineEdit::textEdited, this, [this] { m_edited = true; });
    connect(this, &QLineEdit::returnPressed, this, &InputField::submit);
}

void InputField::submit()
{
    m_edited = false;
    Q_EMIT submitted(text());
}

void InputField::showText(const QString &text)
{
    m_edited = false;
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

void InputField::focusOutEvent(QFocusEvent *event)
{
    QLineEdit::focusOutEvent(event);
    if (m_edited && event->reason() != Qt::PopupFocusReason) // its own menu is no other place
        submit();
}

void InputField::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        m_edited = false;
    QLineEdit::keyPressEvent(event);
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
