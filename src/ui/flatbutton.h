// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"
#include "ui/focusring.h"
#include "ui/hoverfade.h"
#include "ui/palette.h"

#include <QAbstractButton>

namespace kestrune {

/// Base of the buttons: hover and press veil, hand-over of its shape to the focus ring, Return
/// and Enter act like Space. A checkable one shows the state it was given; a click only asks for a change.
class FlatButton : public QAbstractButton, public FocusShape, public SelfDescribing
{
    Q_OBJECT

public:
    explicit FlatButton(QWidget *parent = nullptr);

    [[nodiscard]] QAccessibleInterface *makeAccessible() override;
    /// What readers call it: a check box when checkable, else a button. A checkable one that calls itself a
    /// button is one that folds something.
    [[nodiscard]] virtual QAccessible::Role accessibleRole() const
    {
        return isCheckable() ? QAccessible::CheckBox : QAccessible::Button;
    }
    [[nodiscard]] QRectF focusRect() const override { return rect(); }
    [[nodiscard]] double focusRadius() const override { return 4; }

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void nextCheckState() override {}

    [[nodiscard]] double veilLevel() const { return m_fade.level(); }
    /// Ground, then the veil over it, in a rounded rectangle; an invalid ground draws the veil alone.
    void paintGround(QPainter &painter, const QRectF &shape, double radius, const QColor &ground) const;

private:
    HoverFade m_fade;
};

} // namespace kestrune
