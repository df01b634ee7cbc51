// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"

namespace kestrune {

/// One found instrument: its name, its code and whether it is in the list. `checked` marks the one that
/// Return takes.
class FoundRow : public FlatButton
{
    Q_OBJECT

public:
    explicit FoundRow(QWidget *parent = nullptr);

    void setContent(const QString &symbol, const QString &name, bool isListed);
    [[nodiscard]] const QString &symbol() const { return m_symbol; }
    [[nodiscard]] const QString &name() const { return m_name; }

    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::ListItem; }
    [[nodiscard]] double focusRadius() const override { return 6; }
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_symbol;
    QString m_name;
    bool m_isListed = false;
};

} // namespace kestrune
