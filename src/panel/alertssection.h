// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class AlertRow;
class HelpTitle;
class IconButton;
class InputField;

/// The instrument's price alerts and the field that adds one.
class AlertsSection : public QWidget
{
    Q_OBJECT

public:
    explicit AlertsSection(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void tabStopsChanged();

private:
    void addManualAlert();
    [[nodiscard]] AlertRow *makeRow(const QString &id);

    PanelContext m_context;
    HelpTitle *m_title;
    InputField *m_input;
    IconButton *m_add;
    QWidget *m_rowBox;
    std::vector<AlertRow *> m_rows; // in order
};

} // namespace kestrune
