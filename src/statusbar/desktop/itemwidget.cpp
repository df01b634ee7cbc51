// SPDX-License-Identifier: MIT
#include "statusbar/desktop/itemwidget.h"

#include "ui/palette.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPainter>

#include <cmath>
#include <utility>

namespace kestrune {

namespace {

constexpr int solidPadding = 6; // left and right of the picture on a ground of our own

} // namespace

ItemWidget::ItemWidget(Qt::WindowFlags flags, Ground ground) : QWidget(nullptr, flags), m_ground(ground)
{
    if (ground == Ground::transparent)
        setAttribute(Qt::WA_TranslucentBackground);
    else
        setAttribute(Qt::WA_OpaquePaintEvent);
    setWindowTitle(QStringLiteral("Kestrune Bar"));
}

void ItemWidget::setContent(const StatusItemContent &content)
{
    const bool repaint = !samePicture(m_content, content) || m_content.status.dark != content.status.dark;
    m_content = content;
    // For readers of the screen; no tool tip, which would take a window and a timer of its own.
    setAccessibleName(content.title);
    setAccessibleDescription(content.detail);
    if (!repaint)
        return;
    if (sizeHint().width() != width())
        Q_EMIT resizeWanted();
    update();
}

QSize ItemWidget::sizeHint() const
{
    const int padding = m_ground == Ground::solid ? 2 * solidPadding : 0;
    return {static_cast<int>(std::ceil(widthOf(m_content, devicePixelRatioF()))) + padding,
            static_cast<int>(statusHeight)};
}

void ItemWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRectF area(rect());
    if (m_ground == Ground::solid) {
        const Palette &palette = m_content.status.dark ? darkPalette() : lightPalette();
        painter.fillRect(area, palette.ground);
        painter.setPen(blended(palette.hairline, palette.ground));
        painter.drawRect(area.adjusted(0.5, 0.5, -0.5, -0.5));
    }
    const double left = m_ground == Ground::solid ? solidPadding : 0;
    paintContent(painter, QPointF(left, (area.height() - statusHeight) / 2), m_content);
}

void ItemWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    Q_EMIT resized();
}

void ItemWidget::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->button() == Qt::LeftButton;
    m_dragging = false;
    m_pressedAt = event->globalPosition();
}

void ItemWidget::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_pressed)
        return;
    const QPoint distance = (event->globalPosition() - m_pressedAt).toPoint();
    m_dragging = m_dragging || distance.manhattanLength() >= QApplication::startDragDistance();
    if (m_dragging)
        Q_EMIT dragged(distance);
}

void ItemWidget::mouseReleaseEvent(QMouseEvent *event)
{
    if (!m_pressed || event->button() != Qt::LeftButton)
        return;
    m_pressed = false;
    if (std::exchange(m_dragging, false))
        Q_EMIT dropped();
    else if (rect().contains(event->position().toPoint()))
        Q_EMIT clicked();
}

void ItemWidget::contextMenuEvent(QContextMenuEvent *event)
{
    Q_EMIT menuRequested(event->globalPos());
}

} // namespace kestrune
