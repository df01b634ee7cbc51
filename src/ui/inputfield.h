// SPDX-License-Identifier: MIT
#pragma once

#include "ui/focusring.h"

#include <QLineEdit>

namespace kestrune {

/// A one-line text field. Return submits, and so does the focus that leaves a text the user has changed;
/// Escape gives the change up.
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

Q_SIGNALS:
    void submitted(const QString &text);

protected:
    void focusOutEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void submit();
    void takeColours();

    bool m_edited = false; // by the user, since the last submission
};

} // namespace kestrune
