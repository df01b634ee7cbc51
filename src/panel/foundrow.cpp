// SPDX-License-Identifier: MIT
#include "panel/foundrow.h"

#include "ui/icons.h"
#include "ui/typography.h"

#include <QPainter>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int foundRowHeight = 30;
constexpr int foundRowPadding = 6;
constexpr int listedIconSide = 12;
constexpr int listedGap = 4;
const QString listedText = u"已添加"_s;

} // namespace

FoundRow::FoundRow(QWidget *parent) : FlatButton(parent)
{
    setCheckable(true);
    setFocusPolicy(Qt::NoFocus); // the keys stay in the field
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void FoundRow::setContent(const QString &symbol, const QString &name, bool isListed)
{
    m_symbol = symbol;
    m_name = name;
    m_isListed = isListed;
    QString heard = name.isEmpty() ? symbol : name + u' ' + symbol;
    if (isListed)
        heard += u'，' + listedText;
    setAccessibleName(heard);
    update();
}

QSize FoundRow::sizeHint() const
{
    return {120, foundRowHeight};
}

void FoundRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    paintGround(painter, rect(), focusRadius(), isChecked() ? palette.accentSoft : QColor());
    const auto middle = [this](TypeRole role) { return (height() - lineHeight(role)) / 2.0; };
    int right = width() - foundRowPadding;
    if (m_isListed) {
        right -= textWidth(listedText, TypeRole::caption);
        painter.setPen(palette.green);
        drawTextLine(painter, QPointF(right, middle(TypeRole::caption)), listedText, TypeRole::caption);
        right -= listedGap + listedIconSide;
        drawIcon(painter, QRectF(right, (height() - listedIconSide) / 2.0, listedIconSide, listedIconSide),
                 u"checkmark.circle.fill"_s, palette.shapeColor(Tone::green));
        right -= listedGap * 2;
    }
    painter.setPen(palette.text);
    const QString title = m_name.isEmpty() ? m_symbol : m_name;
    const QString code = m_name.isEmpty() ? QString() : m_symbol;
    const int codeRoom = code.isEmpty() ? 0 : textWidth(code, TypeRole::caption) + listedGap * 2;
    const QString cut = QFontMetrics(fontFor(TypeRole::body))
                            .elidedText(title, Qt::ElideRight, right - foundRowPadding - codeRoom);
    drawTextLine(painter, QPointF(foundRowPadding, middle(TypeRole::body)), cut, TypeRole::body);
    if (!code.isEmpty()) {
        painter.setPen(palette.secondary);
        const int after = foundRowPadding + textWidth(cut, TypeRole::body) + listedGap * 2;
        drawTextLine(painter, QPointF(after, middle(TypeRole::caption) + 1), code, TypeRole::caption);
    }
}

} // namespace kestrune
