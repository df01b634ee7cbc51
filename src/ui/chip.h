// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"

namespace kestrune {

/// One instrument of the picker row, or one choice of a setting; `checked` marks the current one and is set
/// by the owner only.
class Chip : public FlatButton
{
    Q_OBJECT

public:
    explicit Chip(const QString &text, QWidget *parent = nullptr);

    [[nodiscard]] double focusRadius() const override { return height() / 2.0; }
    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::RadioButton; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace kestrune
