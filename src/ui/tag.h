// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"
#include "ui/palette.h"

#include <QWidget>

namespace kestrune {

/// A small word in its colour.
class Tag : public QWidget, public WithRole<QAccessible::StaticText>
{
    Q_OBJECT

public:
    enum class Look {
        soft,     ///< on a faint ground of its colour
        outlined, ///< in a line of its colour
        solid,    ///< bold, in the window's colour on a ground of its own
    };

    Tag(const QString &text, Tone color, Look look = Look::soft, QWidget *parent = nullptr);

    void setContent(const QString &text, Tone color, Look look = Look::soft);
    [[nodiscard]] const QString &text() const { return m_text; }
    [[nodiscard]] Tone color() const { return m_color; }

    [[nodiscard]] QSize sizeHint() const override { return m_size; }
    [[nodiscard]] QSize minimumSizeHint() const override { return m_size; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_text;
    Tone m_color;
    Look m_look;
    QSize m_size;
};

} // namespace kestrune
