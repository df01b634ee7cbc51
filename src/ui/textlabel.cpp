// SPDX-License-Identifier: MIT
#include "ui/textlabel.h"

#include "ui/glyphdrawing.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <limits>

namespace kestrune {

namespace {

constexpr int endless = std::numeric_limits<int>::max();

} // namespace

TextLabel::TextLabel(TypeRole role, QWidget *parent) : QWidget(parent), m_role(role)
{
    layTextIn({});
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

TextLabel::TextLabel(const QString &text, TypeRole role, Tone tone, QWidget *parent) : TextLabel(role, parent)
{
    m_text = text;
    m_tone = tone;
    layTextIn(text);
    setAccessibleName(text);
}

void TextLabel::setText(const QString &text)
{
    if (m_text == text)
        return;
    m_text = text;
    setAccessibleName(text);
    changed();
}

void TextLabel::setTone(Tone tone)
{
    if (m_tone == tone)
        return;
    m_tone = tone;
    update();
}

void TextLabel::setRole(TypeRole role)
{
    if (m_role == role)
        return;
    m_role = role;
    changed();
}

void TextLabel::setAlignment(Qt::Alignment alignment)
{
    m_alignment = alignment;
    update();
}

void TextLabel::setWrap(bool wrap)
{
    m_wrap = wrap;
    // A layout cuts a height for width at the size hint unless the policy lets it grow.
    QSizePolicy policy(wrap ? QSizePolicy::Preferred : QSizePolicy::Fixed,
                       wrap ? QSizePolicy::Minimum : QSizePolicy::Fixed);
    policy.setHeightForWidth(wrap);
    setSizePolicy(policy);
    changed();
}

void TextLabel::setElide(Qt::TextElideMode mode)
{
    m_elide = mode;
    setSizePolicy(mode == Qt::ElideNone ? QSizePolicy::Fixed : QSizePolicy::Preferred, QSizePolicy::Fixed);
    changed();
}

QSize TextLabel::sizeHint() const
{
    return naturalSize();
}

QSize TextLabel::minimumSizeHint() const
{
    const QSize natural = naturalSize();
    if (m_wrap || m_elide != Qt::ElideNone)
        return {std::min(natural.width(), 2 * lineHeight(m_role)), natural.height()};
    return natural;
}

int TextLabel::heightForWidth(int width) const
{
    if (!m_wrap)
        return lineHeight(m_role);
    return linesFor(width) * lineHeight(m_role);
}

void TextLabel::paintEvent(QPaintEvent *)
{
    if (m_text.isEmpty())
        return;
    QPainter painter(this);
    painter.setPen(paletteOf(this).color(m_tone));
    if (m_elide != Qt::ElideNone && naturalSize().width() > width()) {
        const QString cut = QFontMetricsF(fontFor(m_role)).elidedText(m_text, m_elide, width());
        if (m_laidIn != cut)
            layTextIn(cut);
    } else if (m_laidIn != m_text) {
        layTextIn(m_text);
    }
    layOut(m_wrap ? width() : endless);
    for (int i = 0; i < m_layout.lineCount(); ++i) {
        const QTextLine line = m_layout.lineAt(i);
        const double slack = width() - line.naturalTextWidth();
        const double x = m_alignment & (Qt::AlignRight | Qt::AlignTrailing) ? slack
                         : m_alignment & Qt::AlignHCenter                   ? slack / 2
                                                                            : 0;
        drawGlyphs(painter, line, m_layout.text(), QPointF(std::round(x), 0));
    }
}

// A fresh text of the old size needs no new layout around it: that is the common case, a number that ticks.
void TextLabel::changed()
{
    const QSize before = m_natural;
    const int linesBefore = m_wrap ? linesFor(width()) : 1;
    m_natural = {};
    layTextIn(m_text);
    const bool sameSize =
        m_wrap ? linesFor(width()) == linesBefore : before.isValid() && naturalSize() == before;
    if (!sameSize)
        updateGeometry();
    update();
}

void TextLabel::layTextIn(const QString &text) const
{
    m_laidIn = text;
    takeText(m_layout, text, m_role, m_wrap);
    m_layoutWidth = -1;
    m_lineCounts.fill({});
}

void TextLabel::layOut(int width) const
{
    if (m_layoutWidth == width)
        return;
    breakLines(m_layout, m_role, width);
    m_layoutWidth = width;
}

// Breaking lines shapes the text, the costly part; layouts ask for the same few widths in turn.
int TextLabel::linesFor(int width) const
{
    const auto known = std::ranges::find(m_lineCounts, width, &LineCount::width);
    if (known != m_lineCounts.end())
        return known->lines;
    layOut(width);
    const int lines = std::max(m_layout.lineCount(), 1);
    m_lineCounts[m_oldestLineCount] = {.width = width, .lines = lines};
    m_oldestLineCount = (m_oldestLineCount + 1) % m_lineCounts.size();
    return lines;
}

QSize TextLabel::naturalSize() const
{
    if (!m_natural.isValid()) {
        if (m_laidIn != m_text)
            layTextIn(m_text);
        layOut(endless);
        m_natural = {static_cast<int>(std::ceil(m_layout.maximumWidth())), lineHeight(m_role)};
    }
    return m_natural;
}

} // namespace kestrune
