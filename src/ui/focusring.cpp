// SPDX-License-Identifier: MIT
#include "ui/focusring.h"

#include "ui/palette.h"

#include <QAbstractScrollArea>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollArea>

#include <algorithm>

namespace kestrune {

namespace {

constexpr double ringGap = 2;
constexpr double ringThickness = 2;

/// The widget that scrolls or shows `widget`: its ancestor just inside the nearest viewport, or the window.
QWidget *ringParent(QWidget *widget)
{
    QWidget *at = widget->parentWidget();
    while (at && !at->isWindow()) {
        QWidget *above = at->parentWidget();
        const auto *area = above ? qobject_cast<QAbstractScrollArea *>(above->parentWidget()) : nullptr;
        if (area && area->viewport() == above)
            return at;
        at = above;
    }
    return at;
}

/// The toolkit scrolls after Tab only, not after keys that a row or a list handles itself.
void bringIntoView(QWidget &widget, int margin)
{
    for (QWidget *at = widget.parentWidget(); at && !at->isWindow(); at = at->parentWidget()) {
        if (auto *area = qobject_cast<QScrollArea *>(at))
            area->ensureWidgetVisible(&widget, margin, margin);
    }
}

bool byKeyboard(Qt::FocusReason reason)
{
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
           reason == Qt::ShortcutFocusReason;
}

} // namespace

bool moveFocusByKeys(const QList<QWidget *> &row, const QObject *watched, const QEvent &event, Qt::Key back,
                     Qt::Key forward)
{
    if (event.type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<const QKeyEvent &>(event).key();
    const int step = key == forward ? 1 : key == back ? -1 : 0;
    const auto at = row.indexOf(watched);
    if (step == 0 || at < 0)
        return false;
    row[std::clamp<qsizetype>(at + step, 0, row.size() - 1)]->setFocus(Qt::TabFocusReason);
    return true;
}

FocusRing::FocusRing(QWidget *window) : QWidget(window), m_window(window)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    hide();
    // Focus events carry their reason only on their way to the widget, hence a filter on all of them.
    qApp->installEventFilter(this);
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::FocusIn:
        if (auto *widget = qobject_cast<QWidget *>(watched);
            widget && m_window && m_window->isAncestorOf(widget)) {
            const auto reason = static_cast<QFocusEvent *>(event)->reason();
            if (byKeyboard(reason))
                moveTo(widget);
            else if (widget != m_target)
                leave();
        }
        break;
    case QEvent::FocusOut:
        if (watched == m_target && static_cast<QFocusEvent *>(event)->reason() != Qt::ActiveWindowFocusReason)
            leave();
        break;
    case QEvent::MouseButtonPress:
    case QEvent::Hide:
        if (watched == m_target)
            leave();
        break;
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::LayoutRequest:
        if (m_target && watched->isWidgetType() &&
            (watched == m_target || static_cast<QWidget *>(watched)->isAncestorOf(m_target)))
            place();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void FocusRing::moveTo(QWidget *target)
{
    m_target = target;
    QWidget *parent = ringParent(target);
    if (!parent) {
        leave();
        return;
    }
    if (parentWidget() != parent)
        setParent(parent);
    place();
    show();
    raise();
    bringIntoView(*target, int(ringGap + ringThickness));
}

void FocusRing::place()
{
    QWidget *parent = parentWidget();
    if (!m_target || !parent || !parent->isAncestorOf(m_target)) {
        leave();
        return;
    }
    QRectF shape = m_target->rect();
    m_radius = 6;
    if (const auto *shaped = dynamic_cast<const FocusShape *>(m_target.data())) {
        shape = shaped->focusRect();
        m_radius = shaped->focusRadius();
    }
    shape.translate(m_target->mapTo(parent, QPoint(0, 0)));
    const double margin = ringGap + ringThickness;
    const QRect ring = shape.adjusted(-margin, -margin, margin, margin).toAlignedRect();
    setGeometry(ring.intersected(parent->rect())); // all four sides of what is as wide as its window
    update();
}

void FocusRing::leave()
{
    m_target = nullptr;
    hide();
    // Back to the window: the scrolled content it sat in may be taken down at any time.
    if (m_window && parentWidget() != m_window)
        setParent(m_window);
}

void FocusRing::paintEvent(QPaintEvent *)
{
    if (!m_target)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(paletteOf(m_target).accent, ringThickness));
    const double half = ringThickness / 2;
    const double radius = m_radius + ringGap + half;
    painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), radius, radius);
}

} // namespace kestrune
