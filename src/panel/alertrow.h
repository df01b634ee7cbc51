// SPDX-License-Identifier: MIT
#pragma once

#include "state/pricealert.h"

#include <QWidget>

namespace kestrune {

class IconButton;
class IconLabel;
class TextButton;
class TextLabel;

/// One price alert: bell, label, "收到" while it rings, "再设" where it can be armed the other way round, and
/// the way to delete it.
class AlertRow : public QWidget
{
    Q_OBJECT

public:
    explicit AlertRow(QString id, QWidget *parent = nullptr);

    [[nodiscard]] const QString &id() const { return m_id; }
    void setAlert(const PriceAlert &alert, bool offersRearming);
    /// Shows while it rings.
    [[nodiscard]] QWidget *dismissButton() const;
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void dismissed();
    void rearmed();
    void removed();

private:
    QString m_id;
    IconLabel *m_bell;
    TextLabel *m_label;
    TextButton *m_rearm;
    TextButton *m_dismiss;
    IconButton *m_remove;
};

} // namespace kestrune
