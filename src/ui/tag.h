// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"
#include "ui/palette.h"

#include <QWidget>

namespace kestrune {

/// A small word in its colour on a soft ground of the same colour.
class Tag : public QWidget, public WithRole<QAccessible::StaticText>
{
    Q_OBJECT

public:
    Tag(const QString &text, Tone color, QWidget *parent = nullptr);

    void setContent(const QString &text, Tone color);
    [[nodiscard]] const QString &text() const { return m_text; }
    [[nodiscard]] Tone color() const { return m_color; }

    [[nodiscard]] QSize sizeHint() const override { return m_size; }
    [[nodiscard]] QSize minimumSizeHint() const override { return m_size; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_text;
    Tone m_color;
    QSize m_size;
};

} // namespace kestrune
