// SPDX-License-Identifier: MIT
#include "ui/choicerow.h"

#include "ui/boxlayouts.h"
#include "ui/chip.h"

#include <QKeyEvent>

#include <algorithm>

namespace kestrune {

bool moveFocusByArrows(const QList<QWidget *> &row, const QObject *watched, const QEvent &event)
{
    if (event.type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<const QKeyEvent &>(event).key();
    const int step = key == Qt::Key_Right ? 1 : key == Qt::Key_Left ? -1 : 0;
    const auto at = row.indexOf(watched);
    if (step == 0 || at < 0)
        return false;
    row[std::clamp<qsizetype>(at + step, 0, row.size() - 1)]->setFocus(Qt::TabFocusReason);
    return true;
}

ChoiceRow::ChoiceRow(const QStringList &choices, QWidget *parent) : QWidget(parent)
{
    auto *line = rowIn(this, 4);
    for (qsizetype i = 0; i < choices.size(); ++i) {
        auto *chip = new Chip(choices[i]);
        chip->installEventFilter(this);
        connect(chip, &Chip::clicked, this, [this, i] { Q_EMIT picked(i); });
        line->addWidget(chip);
        m_chips.append(chip);
    }
}

void ChoiceRow::setCurrent(qsizetype index)
{
    for (qsizetype i = 0; i < m_chips.size(); ++i)
        m_chips[i]->setChecked(i == index);
}

QList<QWidget *> ChoiceRow::tabStops() const
{
    return {m_chips.begin(), m_chips.end()};
}

bool ChoiceRow::eventFilter(QObject *watched, QEvent *event)
{
    return moveFocusByArrows(tabStops(), watched, *event) || QWidget::eventFilter(watched, event);
}

} // namespace kestrune
