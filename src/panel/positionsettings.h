// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

namespace kestrune {

class ChoiceRow;
class HelpTitle;
class InputField;
struct NumberField;
class TextLabel;

/// Account size, risk per trade, leverage and margin mode. Stocks have neither of the last two.
class PositionSettings : public QWidget
{
    Q_OBJECT

public:
    explicit PositionSettings(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    /// Takes the texts of all fields from the state.
    void fillFields();
    /// The leverage of a stock segment, in its field.
    void showLeverage();
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    /// What a field took differently from what was typed.
    void noted(const QString &note);

private:
    [[nodiscard]] QWidget *makeRow(QWidget *title, QWidget *control);
    void connectField(InputField *field, const NumberField &number, Published<double> &value);

    PanelContext m_context;
    InputField *m_account;
    InputField *m_risk;
    InputField *m_leverage;
    HelpTitle *m_leverageTitle;
    ChoiceRow *m_marginMode;
    HelpTitle *m_marginTitle;
    QWidget *m_leverageRow;
    QWidget *m_marginRow;
    QWidget *m_stockLeverageRow;
    QWidget *m_stockMarginRow;
    TextLabel *m_explanation;
};

} // namespace kestrune
