// SPDX-License-Identifier: MIT
#include "ui/tag.h"

#include "ui/roundedrect.h"
#include "ui/typography.h"

#include <QPainter>

namespace kestrune {

namespace {

constexpr int tagSideMargin = 6;
constexpr int tagTopMargin = 1;
constexpr double tagRadius = 4;
constexpr float groundOpacity = 0.15F;

QSize sizeOf(const QString &text)
{
    return {textWidth(text, TypeRole::tag) + 2 * tagSideMargin, lineHeight(TypeRole::tag) + 2 * tagTopMargin};
}

} // namespace

Tag::Tag(const QString &text, Tone color, QWidget *parent)
    : QWidget(parent), m_text(text), m_color(color), m_size(sizeOf(text))
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(text);
}

void Tag::setContent(const QString &text, Tone color)
{
    if (m_text == text && m_color == color)
        return;
    m_color = color;
    if (m_text != text) {
        m_text = text;
        m_size = sizeOf(text);
        setAccessibleName(text);
        updateGeometry();
    }
    update();
}

void Tag::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QColor color = paletteOf(this).color(m_color);
    QColor ground = color;
    ground.setAlphaF(groundOpacity);
    fillRounded(painter, rect(), tagRadius, ground);
    painter.setPen(color);
    drawTextLine(painter, QPointF(tagSideMargin, tagTopMargin), m_text, TypeRole::tag);
}

} // namespace kestrune
