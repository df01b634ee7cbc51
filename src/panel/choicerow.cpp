#include "panel/choicerow.h"

#include "panel/boxlayouts.h"
#include "panel/chip.h"

#include <QKeyEvent>

#include <algorithm>

namespace kestrune {

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
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const int step = key == Qt::Key_Right ? 1 : key == Qt::Key_Left ? -1 : 0;
        const auto at = m_chips.indexOf(watched);
        if (step != 0 && at >= 0) {
            m_chips[std::clamp<qsizetype>(at + step, 0, m_chips.size() - 1)]->setFocus(Qt::TabFocusReason);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace kestrune
