// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"
#include "ui/palette.h"
#include "ui/typography.h"

#include <QTextLayout>
#include <QWidget>

#include <array>
#include <cstddef>

namespace kestrune {

/// Text on lines of the role's fixed height, whatever scripts it mixes, with its emoji in colour. Wraps, or
/// is cut with an ellipsis where `setElide` allows; never cut otherwise. A new text of the same size only
/// repaints.
class TextLabel : public QWidget, public WithRole<QAccessible::StaticText>
{
    Q_OBJECT

public:
    explicit TextLabel(TypeRole role = TypeRole::body, QWidget *parent = nullptr);
    TextLabel(const QString &text, TypeRole role, Tone tone = Tone::text, QWidget *parent = nullptr);

    void setText(const QString &text);
    [[nodiscard]] const QString &text() const { return m_text; }
    void setTone(Tone tone);
    [[nodiscard]] Tone tone() const { return m_tone; }
    void setRole(TypeRole role);
    /// Horizontal alignment; leading at first.
    void setAlignment(Qt::Alignment alignment);
    /// As many lines as the width needs; off at first.
    void setWrap(bool wrap);
    /// Lets a single line shrink and be cut; Qt::ElideNone at first.
    void setElide(Qt::TextElideMode mode);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return m_wrap; }
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    struct LineCount
    {
        int width = -1;
        int lines = 1;
    };

    void changed();
    void layTextIn(const QString &text) const;
    /// Breaks the taken text for `width`.
    void layOut(int width) const;
    /// The number of its lines at `width`.
    [[nodiscard]] int linesFor(int width) const;
    [[nodiscard]] QSize naturalSize() const;

    QString m_text;
    TypeRole m_role;
    Tone m_tone = Tone::text;
    Qt::Alignment m_alignment = Qt::AlignLeading;
    Qt::TextElideMode m_elide = Qt::ElideNone;
    bool m_wrap = false;
    mutable QString m_laidIn;                      // the text, or what is left of it after cutting
    mutable QTextLayout m_layout;                  // of that
    mutable int m_layoutWidth = -1;                // the lines are broken for
    mutable std::array<LineCount, 4> m_lineCounts; // of the widths asked for last
    mutable std::size_t m_oldestLineCount = 0;
    mutable QSize m_natural; // of one line; invalid when not known
};

} // namespace kestrune
