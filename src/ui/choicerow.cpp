// SPDX-License-Identifier: MIT
#include "ui/choicerow.h"

#include "ui/boxlayouts.h"

#include <utility>

namespace kestrune {

ChoiceRow::ChoiceRow(const QStringList &choices, Chip::Look look, QWidget *parent)
    : QWidget(parent), m_look(look)
{
    rowIn(this, look == Chip::Look::pill ? 4 : 2);
    setChoices(choices);
}

void ChoiceRow::setChoices(const QStringList &choices)
{
    if (m_choices == choices)
        return;
    m_choices = choices;
    for (Chip *chip : std::exchange(m_chips, {})) {
        chip->hide();
        chip->deleteLater();
    }
    for (qsizetype i = 0; i < choices.size(); ++i) {
        auto *chip = new Chip(choices[i], m_look);
        chip->installEventFilter(this);
        connect(chip, &Chip::clicked, this, [this, i, chip] { Q_EMIT picked(i, chip->text()); });
        layout()->addWidget(chip);
        chip->show(); // the layout itself would only do so on a later turn
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
    return moveFocusByKeys(tabStops(), watched, *event, Qt::Key_Left, Qt::Key_Right) ||
           QWidget::eventFilter(watched, event);
}

} // namespace kestrune
