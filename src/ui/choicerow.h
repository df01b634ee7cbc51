// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QWidget>

namespace kestrune {

class Chip;

/// Lets the left and right arrow keys move the focus along `row`, from an event filter of its widgets: true
/// for such a key press on one of them.
[[nodiscard]] bool moveFocusByArrows(const QList<QWidget *> &row, const QObject *watched,
                                     const QEvent &event);

/// One choice out of a few, side by side; the arrow keys move along them.
class ChoiceRow : public QWidget
{
    Q_OBJECT

public:
    explicit ChoiceRow(const QStringList &choices, QWidget *parent = nullptr);

    void setCurrent(qsizetype index);
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void picked(qsizetype index);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QList<Chip *> m_chips;
};

} // namespace kestrune
