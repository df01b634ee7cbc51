#include "panel/textlabel.h"

#include "panel/accessibility.h"
#include "panel/glyphdrawing.h"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>
#include <limits>

namespace kestrune {

TextLabel::TextLabel(TypeRole role, QWidget *parent) : QWidget(parent), m_role(role)
{
    installPanelAccessibility();
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

TextLabel::TextLabel(const QString &text, TypeRole role, Tone tone, QWidget *parent) : TextLabel(role, parent)
{
    m_text = text;
    m_tone = tone;
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

int TextLabel::lineCount() const
{
    QTextLayout layout;
    prepare(layout, m_text);
    return layOut(layout, m_wrap ? width() : std::numeric_limits<int>::max());
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
    QTextLayout layout;
    prepare(layout, m_text);
    return layOut(layout, width) * lineHeight(m_role);
}

void TextLabel::paintEvent(QPaintEvent *)
{
    if (m_text.isEmpty())
        return;
    QPainter painter(this);
    painter.setPen(paletteOf(this).color(m_tone));
    if (!m_laidOut) {
        QString shown = m_text;
        if (m_elide != Qt::ElideNone && naturalSize().width() > width())
            shown = QFontMetricsF(fontFor(m_role)).elidedText(shown, m_elide, width());
        prepare(m_layout, shown);
        layOut(m_layout, m_wrap ? width() : std::numeric_limits<int>::max());
        m_laidOut = true;
    }
    for (int i = 0; i < m_layout.lineCount(); ++i) {
        const QTextLine line = m_layout.lineAt(i);
        const double slack = width() - line.naturalTextWidth();
        const double x = m_alignment & (Qt::AlignRight | Qt::AlignTrailing) ? slack
                         : m_alignment & Qt::AlignHCenter                   ? slack / 2
                                                                            : 0;
        drawGlyphs(painter, line, m_layout.text(), QPointF(std::round(x), 0));
    }
}

void TextLabel::resizeEvent(QResizeEvent *)
{
    if (m_wrap || m_elide != Qt::ElideNone)
        m_laidOut = false;
}

void TextLabel::changed()
{
    const QSize before = m_natural;
    m_natural = {};
    m_laidOut = false;
    // A fresh text of the old size needs no new layout of the panel: that is the common price tick.
    if (m_wrap || !before.isValid() || naturalSize() != before)
        updateGeometry();
    update();
}

void TextLabel::prepare(QTextLayout &layout, const QString &text) const
{
    layout.clearLayout();
    layout.setFont(fontFor(m_role));
    layout.setText(text);
    layout.setFormats({});
    layout.setCacheEnabled(true);
    QTextOption option;
    option.setWrapMode(m_wrap ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
    layout.setTextOption(option);
    useColourEmoji(layout);
}

int TextLabel::layOut(QTextLayout &layout, double width) const
{
    int count = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        // A fallback family has a taller line; every baseline stands where the role says.
        const double baseline = count * lineHeight(m_role) + baselineInLine(m_role);
        line.setPosition(QPointF(0, baseline - line.ascent()));
        ++count;
    }
    layout.endLayout();
    return std::max(count, 1);
}

QSize TextLabel::naturalSize() const
{
    if (!m_natural.isValid()) {
        QTextLayout layout;
        prepare(layout, m_text);
        layOut(layout, std::numeric_limits<int>::max());
        m_natural = {static_cast<int>(std::ceil(layout.maximumWidth())), lineHeight(m_role)};
    }
    return m_natural;
}

} // namespace kestrune
