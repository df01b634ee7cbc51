// SPDX-License-Identifier: MIT
#pragma once

#include "ui/chip.h"

#include <QStringList>

namespace kestrune {

/// One choice out of a few, side by side; the arrow keys move along them.
class ChoiceRow : public QWidget
{
    Q_OBJECT

public:
    explicit ChoiceRow(const QStringList &choices, Chip::Look look = Chip::Look::pill,
                       QWidget *parent = nullptr);

    void setChoices(const QStringList &choices);
    /// None is current when the index is out of range.
    void setCurrent(qsizetype index);
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void picked(qsizetype index, const QString &choice);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Chip::Look m_look;
    QStringList m_choices;
    QList<Chip *> m_chips;
};

} // namespace kestrune
