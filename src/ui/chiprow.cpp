// SPDX-License-Identifier: MIT
#include "ui/chiprow.h"

#include "ui/chip.h"
#include "ui/edgefade.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>

namespace kestrune {

namespace {

constexpr int chipGap = 8;
constexpr int chipHeight = 24;
constexpr int wheelStep = 60; // pixels of one notch

} // namespace

ChipRow::ChipRow(QWidget *parent)
    : QWidget(parent)
    , m_strip(new QWidget(this))
    , m_before(new EdgeFade(Qt::LeftEdge, this))
    , m_after(new EdgeFade(Qt::RightEdge, this))
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ChipRow::setContent(const QStringList &symbols, const QString &current)
{
    const bool sameList = m_symbols == symbols;
    if (sameList && m_current == current)
        return;
    m_symbols = symbols;
    m_current = current;
    if (!sameList)
        rebuild();
    for (Chip *chip : m_chips) {
        chip->setChecked(chip->text() == current);
        if (chip->isChecked())
            bringIntoView(*chip);
    }
}

QSize ChipRow::sizeHint() const
{
    return {m_strip->width(), chipHeight + 2 * ringRoom};
}

QSize ChipRow::minimumSizeHint() const
{
    return {40, chipHeight + 2 * ringRoom};
}

void ChipRow::rebuild()
{
    for (Chip *chip : m_chips) {
        chip->hide();
        chip->deleteLater();
    }
    m_chips.clear();
    int x = 0;
    for (const QString &symbol : m_symbols) {
        auto *chip = new Chip(symbol, Chip::Look::pill, m_strip);
        chip->installEventFilter(this);
        connect(chip, &Chip::clicked, this, [this, symbol] { Q_EMIT picked(symbol); });
        chip->setGeometry(QRect(QPoint(x, ringRoom), chip->sizeHint()));
        chip->show();
        x += chip->width() + chipGap;
        m_chips.push_back(chip);
    }
    m_strip->resize(std::max(x - chipGap, 0), chipHeight + 2 * ringRoom);
    scrollTo(0);
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
            press(xInRow());
        return false;
    case QEvent::MouseMove:
        drag(xInRow());
        if (m_dragging)
            chip->setDown(false); // the hand moves the row now, letting go picks nothing
        return m_dragging;
    case QEvent::MouseButtonRelease:
        m_pressed = false;
        return std::exchange(m_dragging, false);
    case QEvent::FocusIn:
        bringIntoView(*chip);
        return false;
    case QEvent::KeyPress:
        return filterKey(*chip, *static_cast<QKeyEvent *>(event));
    default:
        return false;
    }
}

bool ChipRow::filterKey(const Chip &chip, const QKeyEvent &event)
{
    if (event.key() != Qt::Key_Home && event.key() != Qt::Key_End)
        return moveFocusByKeys({m_chips.begin(), m_chips.end()}, &chip, event, Qt::Key_Left, Qt::Key_Right);
    Chip *to = event.key() == Qt::Key_Home ? m_chips.front() : m_chips.back();
    to->setFocus(Qt::TabFocusReason);
    return true;
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
        press(event->position().toPoint().x());
}

void ChipRow::mouseMoveEvent(QMouseEvent *event)
{
    drag(event->position().toPoint().x());
}

void ChipRow::mouseReleaseEvent(QMouseEvent *)
{
    m_pressed = false;
    m_dragging = false;
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

void ChipRow::press(int x)
{
    m_pressed = true;
    m_dragging = false;
    m_pressX = x;
    m_pressOffset = m_offset;
}

void ChipRow::drag(int x)
{
    if (!m_pressed || farthestOffset() == 0)
        return;
    if (std::abs(x - m_pressX) >= QApplication::startDragDistance())
        m_dragging = true;
    if (m_dragging)
        scrollTo(m_pressOffset - (x - m_pressX));
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
