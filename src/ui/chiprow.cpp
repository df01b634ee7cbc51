// SPDX-License-Identifier: MIT
#include "ui/chiprow.h"

#include "ui/chip.h"
#include "ui/edgefade.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHash>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kestrune {

using namespace std::chrono_literals;

namespace {

constexpr int chipGap = 8;
constexpr int chipHeight = 24;
constexpr int wheelStep = 60; // pixels of one notch
constexpr auto holdTime = 350ms;
constexpr auto creepTime = 30ms;
constexpr int creepStep = 6;

} // namespace

ChipRow::ChipRow(QWidget *parent)
    : QWidget(parent)
    , m_strip(new QWidget(this))
    , m_before(new EdgeFade(Qt::LeftEdge, this))
    , m_after(new EdgeFade(Qt::RightEdge, this))
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_holding.setSingleShot(true);
    m_holding.setInterval(holdTime);
    connect(&m_holding, &QTimer::timeout, this, &ChipRow::lift);
    m_creeping.setInterval(creepTime);
    connect(&m_creeping, &QTimer::timeout, this, [this] {
        if (m_handX < EdgeFade::depth)
            scrollTo(m_offset - creepStep);
        else if (m_handX > width() - EdgeFade::depth)
            scrollTo(m_offset + creepStep);
        carry();
    });
}

void ChipRow::setContent(const std::vector<ChipItem> &items, const QString &current)
{
    const bool sameItems = m_items == items;
    if (sameItems && m_current == current)
        return;
    const bool sameCurrent = std::exchange(m_current, current) == current;
    if (!sameItems)
        rebuild(items);
    const Chip *shown = nullptr; // the current one, or what the keyboard has just moved
    for (std::size_t i = 0; i < m_chips.size(); ++i) {
        m_chips[i]->setChecked(m_items[i].key == current);
        if ((sameCurrent && m_chips[i]->hasFocus()) || (m_chips[i]->isChecked() && !shown))
            shown = m_chips[i];
    }
    if (shown)
        bringIntoView(*shown);
}

QSize ChipRow::sizeHint() const
{
    return {m_strip->width(), chipHeight + 2 * ringRoom};
}

QSize ChipRow::minimumSizeHint() const
{
    return {40, chipHeight + 2 * ringRoom};
}

Chip *ChipRow::makeChip()
{
    auto *chip = new Chip({}, Chip::Look::pill, m_strip);
    chip->installEventFilter(this);
    connect(chip, &Chip::clicked, this,
            [this, chip] { Q_EMIT picked(m_items[std::size_t(indexOf(chip))].key); });
    return chip;
}

int ChipRow::indexOf(const Chip *chip) const
{
    return int(std::ranges::find(m_chips, chip) - m_chips.begin());
}

// A chip whose key stays in the list stays itself, with the focus and all.
void ChipRow::rebuild(const std::vector<ChipItem> &items)
{
    putDown();
    QHash<QString, Chip *> before;
    int focused = -1;
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        before.insert(m_items[i].key, m_chips[i]);
        if (m_chips[i]->hasFocus())
            focused = int(i);
    }
    const std::vector<Chip *> old = std::exchange(m_chips, {});
    for (const ChipItem &item : items) {
        Chip *chip = before.take(item.key);
        m_chips.push_back(chip ? chip : makeChip());
        const bool named = item.text != item.key;
        m_chips.back()->setText(item.text);
        m_chips.back()->setToolTip(named ? item.key : QString());
        m_chips.back()->setAccessibleName(named ? item.text + u' ' + item.key : item.key);
    }
    m_items = items;
    const auto stays = [this](Chip *chip) { return std::ranges::find(m_chips, chip) != m_chips.end(); };
    if (focused >= 0 && !stays(old[std::size_t(focused)]) && !m_chips.empty())
        m_chips[std::min(std::size_t(focused), m_chips.size() - 1)]->setFocus(Qt::TabFocusReason);
    for (Chip *gone : std::as_const(before)) {
        gone->hide();
        gone->deleteLater();
    }
    place();
    if (old != m_chips)
        Q_EMIT chipsChanged();
}

void ChipRow::place()
{
    std::vector<Chip *> order = m_chips;
    if (m_lifted) {
        std::erase(order, m_lifted);
        order.insert(order.begin() + m_target, m_lifted);
    }
    int x = 0;
    for (Chip *chip : order) {
        chip->resize(chip->sizeHint());
        if (chip != m_lifted)
            chip->move(x, ringRoom);
        chip->show();
        x += chip->width() + chipGap;
    }
    m_strip->resize(std::max(x - chipGap, 0), chipHeight + 2 * ringRoom);
    scrollTo(m_offset);
}

bool ChipRow::eventFilter(QObject *watched, QEvent *event)
{
    auto *chip = qobject_cast<Chip *>(watched);
    if (!chip)
        return QWidget::eventFilter(watched, event);
    const auto xInRow = [&] {
        return chip->mapTo(this, static_cast<QMouseEvent *>(event)->position().toPoint()).x();
    };
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton)
            press(xInRow(), chip);
        return false;
    case QEvent::MouseMove:
        drag(xInRow());
        if (m_dragging)
            chip->setDown(false); // the hand moves the row now, letting go picks nothing
        return m_dragging || m_lifted;
    case QEvent::MouseButtonRelease:
        return letGo();
    case QEvent::ContextMenu:
        Q_EMIT menuRequested(m_items[std::size_t(indexOf(chip))].key,
                             static_cast<QContextMenuEvent *>(event)->globalPos());
        return true;
    case QEvent::FocusIn:
        bringIntoView(*chip);
        return false;
    case QEvent::KeyPress:
        return filterKey(*chip, *static_cast<QKeyEvent *>(event));
    default:
        return false;
    }
}

bool ChipRow::filterKey(Chip &chip, const QKeyEvent &event)
{
    const int at = indexOf(&chip);
    const QString key = m_items[std::size_t(at)].key;
    switch (event.key()) {
    case Qt::Key_Delete:
        if (!event.isAutoRepeat())
            Q_EMIT removeRequested(key);
        return true;
    case Qt::Key_F10:
        if (event.modifiers() != Qt::ShiftModifier)
            return false;
        Q_EMIT menuRequested(key, chip.mapToGlobal(chip.rect().center()));
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right: {
        if (event.modifiers() != Qt::AltModifier)
            break;
        const int to = at + (event.key() == Qt::Key_Left ? -1 : 1);
        if (to >= 0 && to < int(m_chips.size()))
            Q_EMIT moveRequested(key, to);
        return true;
    }
    case Qt::Key_Home:
    case Qt::Key_End:
        (event.key() == Qt::Key_Home ? m_chips.front() : m_chips.back())->setFocus(Qt::TabFocusReason);
        return true;
    default:
        break;
    }
    return moveFocusByKeys({m_chips.begin(), m_chips.end()}, &chip, event, Qt::Key_Left, Qt::Key_Right);
}

void ChipRow::wheelEvent(QWheelEvent *event)
{
    if (farthestOffset() == 0) {
        event->ignore(); // everything shows: the wheel is for what is around
        return;
    }
    const QPoint pixels = event->pixelDelta();
    const QPoint angle = event->angleDelta();
    const bool sideways = std::abs(angle.x()) > std::abs(angle.y());
    const int moved = !pixels.isNull() ? (sideways ? pixels.x() : pixels.y())
                                       : (sideways ? angle.x() : angle.y()) * wheelStep / 120;
    scrollTo(m_offset - moved);
    event->accept();
}

void ChipRow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        press(event->position().toPoint().x(), nullptr);
}

void ChipRow::mouseMoveEvent(QMouseEvent *event)
{
    drag(event->position().toPoint().x());
}

void ChipRow::mouseReleaseEvent(QMouseEvent *)
{
    (void)letGo();
}

void ChipRow::resizeEvent(QResizeEvent *)
{
    m_before->placeIn(rect());
    m_after->placeIn(rect());
    scrollTo(m_offset);
    for (const Chip *chip : m_chips) {
        if (chip->isChecked())
            bringIntoView(*chip);
    }
}

void ChipRow::hideEvent(QHideEvent *event)
{
    putDown();
    QWidget::hideEvent(event);
}

void ChipRow::press(int x, Chip *chip)
{
    m_pressed = true;
    m_dragging = false;
    m_pressX = x;
    m_handX = x;
    m_pressOffset = m_offset;
    m_held = chip;
    if (chip)
        m_holding.start();
}

void ChipRow::drag(int x)
{
    m_handX = x;
    if (m_lifted) {
        carry();
        return;
    }
    if (!m_pressed || farthestOffset() == 0)
        return;
    if (std::abs(x - m_pressX) >= QApplication::startDragDistance()) {
        m_dragging = true;
        m_holding.stop();
    }
    if (m_dragging)
        scrollTo(m_pressOffset - (x - m_pressX));
}

/// Whether the release belongs to the row, and is no click.
bool ChipRow::letGo()
{
    const bool spent = std::exchange(m_dragging, false) || m_lifted;
    if (m_lifted) {
        const int from = indexOf(m_lifted);
        const int to = m_target;
        putDown();
        if (to != from)
            Q_EMIT moveRequested(m_items[std::size_t(from)].key, to);
    }
    putDown();
    return spent;
}

void ChipRow::lift()
{
    m_lifted = m_held;
    m_target = indexOf(m_lifted);
    m_grip = m_handX + m_offset - m_lifted->x();
    m_lifted->setDown(false);
    m_lifted->setCursor(Qt::ClosedHandCursor);
    m_lifted->raise();
    m_lifted->move(m_lifted->x(), ringRoom - 2);
    m_creeping.start();
}

void ChipRow::carry()
{
    const int x = std::clamp(m_handX + m_offset - m_grip, 0, m_strip->width() - m_lifted->width());
    m_lifted->move(x, ringRoom - 2);
    m_target = int(std::ranges::count_if(m_chips, [this](const Chip *chip) {
        return chip != m_lifted && chip->geometry().center().x() < m_lifted->geometry().center().x();
    }));
    place();
}

void ChipRow::putDown()
{
    m_pressed = false;
    m_held = nullptr;
    m_holding.stop();
    m_creeping.stop();
    if (Chip *lifted = std::exchange(m_lifted, nullptr)) {
        lifted->unsetCursor();
        place();
    }
}

int ChipRow::farthestOffset() const
{
    return std::max(m_strip->width() - width(), 0);
}

void ChipRow::scrollTo(int offset)
{
    m_offset = std::clamp(offset, 0, farthestOffset());
    m_strip->move(-m_offset, 0);
    m_before->setVisible(m_offset > 0);
    m_after->setVisible(m_offset < farthestOffset());
}

void ChipRow::bringIntoView(const Chip &chip)
{
    const int left = std::max(chip.x() - EdgeFade::depth, 0);
    const int right = std::min(chip.x() + chip.width() + EdgeFade::depth, m_strip->width());
    if (left < m_offset)
        scrollTo(left);
    else if (right > m_offset + width())
        scrollTo(right - width());
}

} // namespace kestrune
