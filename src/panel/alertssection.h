// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <utility>
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
    /// The row of an alert, its "收到" with the focus where it rings; null when there is none.
    [[nodiscard]] const QWidget *focusAlert(const QString &id) const;

Q_SIGNALS:
    void tabStopsChanged();
    /// Something to say and, with an action, what it does.
    void noted(const QString &message, bool isError, const QString &action,
               const std::function<void()> &onAction);

private:
    void addManualAlert();
    [[nodiscard]] AlertRow *makeRow(const QString &id);
    [[nodiscard]] std::optional<PriceAlert> alertOf(const QString &id) const;
    void removeAlert(const QString &id);
    void rearmAlert(const QString &id);

    PanelContext m_context;
    HelpTitle *m_title;
    InputField *m_input;
    IconButton *m_add;
    std::pair<QString, QString> m_asked; // the instrument and the text that was asked about
    QWidget *m_rowBox;
    std::vector<AlertRow *> m_rows; // in order
};

} // namespace kestrune
