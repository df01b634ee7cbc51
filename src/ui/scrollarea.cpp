// SPDX-License-Identifier: MIT
#include "ui/scrollarea.h"

#include "ui/edgefade.h"
#include "ui/layoutsettling.h"
#include "ui/palette.h"
#include "ui/roundedrect.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

namespace kestrune {

namespace {

constexpr int trackWidth = 10;
constexpr int idleWidth = 4;
constexpr int activeWidth = 6;
constexpr int edgeMargin = 2;
constexpr int shortestHandle = 28;
constexpr int revealMargin = 12;

/// The floating handle: shows the position of a scroll bar and can be dragged.
class ScrollHandle : public QWidget
{
public:
    ScrollHandle(QScrollBar &bar, QWidget *parent) : QWidget(parent), m_bar(bar)
    {
        setAttribute(Qt::WA_Hover); // repaints on enter and leave
        QObject::connect(&bar, &QScrollBar::valueChanged, this, [this] { update(); });
        QObject::connect(&bar, &QScrollBar::rangeChanged, this, [this] { refresh(); });
        refresh();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const bool active = underMouse() || m_grip >= 0;
        const int thickness = active ? activeWidth : idleWidth;
        QColor color = paletteOf(this).secondary;
        color.setAlphaF(active ? 0.7F : 0.4F);
        const QRectF shape(width() - edgeMargin - thickness, handleTop(), thickness, handleLength());
        fillRounded(painter, shape, thickness / 2.0, color);
    }

    void mousePressEvent(QMouseEvent *event) override
    {
        const double y = event->position().y();
        const bool onHandle = y >= handleTop() && y < handleTop() + handleLength();
        m_grip = onHandle ? y - handleTop() : handleLength() / 2;
        dragTo(y);
    }

    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (m_grip >= 0)
            dragTo(event->position().y());
    }

    void mouseReleaseEvent(QMouseEvent *) override
    {
        m_grip = -1;
        update();
    }

private:
    [[nodiscard]] double trackLength() const { return std::max(height() - 2 * edgeMargin, 1); }
    [[nodiscard]] double handleLength() const
    {
        const double whole = m_bar.maximum() - m_bar.minimum() + m_bar.pageStep();
        const double length = whole > 0 ? trackLength() * m_bar.pageStep() / whole : trackLength();
        return std::clamp(length, std::min<double>(shortestHandle, trackLength()), trackLength());
    }
    [[nodiscard]] double handleTop() const
    {
        const double range = std::max(m_bar.maximum() - m_bar.minimum(), 1);
        const double share = (m_bar.value() - m_bar.minimum()) / range;
        return edgeMargin + share * (trackLength() - handleLength());
    }
    void dragTo(double y)
    {
        const double room = std::max(trackLength() - handleLength(), 1.0);
        const double share = std::clamp((y - m_grip - edgeMargin) / room, 0.0, 1.0);
        m_bar.setValue(m_bar.minimum() + qRound(share * (m_bar.maximum() - m_bar.minimum())));
        update();
    }
    void refresh()
    {
        setVisible(m_bar.maximum() > m_bar.minimum());
        update();
    }

    QScrollBar &m_bar;
    double m_grip = -1; // where the mouse holds the handle; negative when it does not
};

} // namespace

ScrollArea::ScrollArea(QWidget *parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The bar is never shown, so the area itself is the one to take wheel steps of a line of text.
    verticalScrollBar()->setSingleStep(20);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    m_above = new EdgeFade(Qt::TopEdge, this);
    m_below = new EdgeFade(Qt::BottomEdge, this);
    m_handle = new ScrollHandle(*verticalScrollBar(), this);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &ScrollArea::updateFades);
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, &ScrollArea::updateFades);
}

void ScrollArea::updateFades()
{
    const QScrollBar *bar = verticalScrollBar();
    m_above->setVisible(bar->value() > bar->minimum());
    m_below->setVisible(bar->value() < bar->maximum());
}

void ScrollArea::setAnchor(QWidget *anchor)
{
    m_anchor = anchor;
    anchor->installEventFilter(this);
    // Emitted before the value is bounded by the new range.
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this] {
        if (m_anchor)
            noteChange(m_anchor->y());
    });
}

void ScrollArea::reveal(const QWidget *part)
{
    // On a busy machine the layouts around the part have not followed it yet.
    settleLayouts(*this);
    // What is still to come would take back what is scrolled here.
    followAnchor();
    const int top = part->mapTo(widget(), QPoint()).y();
    const int toEnd = top + part->height() + revealMargin - viewport()->height();
    const int toBeginning = top - revealMargin;
    const int lowest = std::min(toEnd, toBeginning);
    verticalScrollBar()->setValue(std::clamp(verticalScrollBar()->value(), lowest, toBeginning));
}

bool ScrollArea::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_anchor && event->type() == QEvent::Move)
        noteChange(static_cast<QMoveEvent *>(event)->oldPos().y());
    return QScrollArea::eventFilter(watched, event);
}

void ScrollArea::noteChange(int anchorTop)
{
    const int value = verticalScrollBar()->value();
    if (m_changing || !isVisible() || value == 0 || anchorTop - value >= viewport()->height() / 2)
        return;
    m_changing = true;
    m_valueBefore = value;
    m_topBefore = anchorTop;
    QMetaObject::invokeMethod(this, &ScrollArea::followAnchor, Qt::QueuedConnection); // once all is laid out
}

void ScrollArea::followAnchor()
{
    if (m_changing && m_anchor && m_anchor->y() != m_topBefore)
        verticalScrollBar()->setValue(m_valueBefore + m_anchor->y() - m_topBefore);
    m_changing = false;
}

void ScrollArea::resizeEvent(QResizeEvent *event)
{
    QScrollArea::resizeEvent(event);
    m_above->placeIn(viewport()->geometry());
    m_below->placeIn(viewport()->geometry());
    m_handle->setGeometry(width() - trackWidth, 0, trackWidth, height());
    m_handle->raise();
}

} // namespace kestrune
