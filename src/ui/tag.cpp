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

TypeRole roleOf(Tag::Look look)
{
    return look == Tag::Look::solid ? TypeRole::captionBold : TypeRole::tag;
}

QSize sizeOf(const QString &text, Tag::Look look)
{
    return {textWidth(text, roleOf(look)) + 2 * tagSideMargin, lineHeight(roleOf(look)) + 2 * tagTopMargin};
}

} // namespace

Tag::Tag(const QString &text, Tone color, Look look, QWidget *parent)
    : QWidget(parent), m_text(text), m_color(color), m_look(look), m_size(sizeOf(text, look))
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(text);
}

void Tag::setContent(const QString &text, Tone color, Look look)
{
    if (m_text == text && m_color == color && m_look == look)
        return;
    m_color = color;
    if (m_text != text || m_look != look) {
        m_text = text;
        m_look = look;
        m_size = sizeOf(text, look);
        setAccessibleName(text);
        updateGeometry();
    }
    update();
}

void Tag::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    const QColor color = palette.color(m_color);
    QColor ground = color;
    if (m_look != Look::solid)
        ground.setAlphaF(groundOpacity);
    if (m_look == Look::outlined)
        outlineRounded(painter, rect(), tagRadius - 0.5, color);
    else
        fillRounded(painter, rect(), tagRadius, ground);
    painter.setPen(m_look == Look::solid ? palette.ground : color);
    drawTextLine(painter, QPointF(tagSideMargin, tagTopMargin), m_text, roleOf(m_look));
}

} // namespace kestrune
