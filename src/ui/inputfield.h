// SPDX-License-Identifier: MIT
#pragma once

#include "ui/focusring.h"

#include <QLineEdit>

namespace kestrune {

/// A one-line text field. Return submits; what was typed and not submitted stays as it is.
class InputField : public QLineEdit, public FocusShape
{
    Q_OBJECT

public:
    /// `name` is what a screen reader calls the field.
    explicit InputField(const QString &name, QWidget *parent = nullptr);

    /// Replaces the text when it differs, so that an equal value moves no cursor.
    void showText(const QString &text);

    [[nodiscard]] QRectF focusRect() const override { return rect(); }
    [[nodiscard]] double focusRadius() const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void takeColours();
};

} // namespace kestrune
