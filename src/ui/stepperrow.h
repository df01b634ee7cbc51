// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrune {

class HelpTitle;
class IconButton;
class InputField;

/// A number setting: title with help, then minus, field and plus at the right edge.
class StepperRow : public QWidget
{
    Q_OBJECT

public:
    StepperRow(const QString &title, const QString &help, QWidget *parent = nullptr);

    [[nodiscard]] InputField *field() const { return m_field; }
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void stepped(int direction); ///< -1 or +1
    void submitted(const QString &text);

private:
    [[nodiscard]] IconButton *makeStep(const QString &icon, const QString &title, const QString &tip,
                                       int direction);

    HelpTitle *m_title;
    IconButton *m_minus;
    InputField *m_field;
    IconButton *m_plus;
};

} // namespace kestrune
