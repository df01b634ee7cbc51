// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"

namespace kestrune {

/// One choice out of several in a row; `checked` marks the current one and is set by the owner only. One that
/// is not checkable is a button among them.
class Chip : public FlatButton
{
    Q_OBJECT

public:
    enum class Look {
        pill,    ///< round ends on the raised ground; blue on a soft ground when current
        segment, ///< a thin outline; white on accent when current
    };

    explicit Chip(const QString &text, Look look = Look::pill, QWidget *parent = nullptr);

    [[nodiscard]] double focusRadius() const override;
    [[nodiscard]] QAccessible::Role accessibleRole() const override
    {
        return isCheckable() ? QAccessible::RadioButton : QAccessible::Button;
    }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Look m_look;
};

} // namespace kestrune
