// SPDX-License-Identifier: MIT
#include "panel/alertlogsection.h"

#include "state/alertlog.h"
#include "ui/boxlayouts.h"
#include "ui/disclosure.h"
#include "ui/palette.h"
#include "ui/textlabel.h"

#include <QFontMetricsF>
#include <QPainter>

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int logLineGap = 1;
constexpr int logRowGap = 8;

/// One firing on two lines: what and when, then at which price and whether it was acknowledged.
class AlertLogRow : public QWidget, public WithRole<QAccessible::StaticText>
{
public:
    explicit AlertLogRow(AlertLogLine line) : m_line(std::move(line))
    {
        setFixedHeight(2 * lineHeight(TypeRole::caption) + logLineGap);
        const QStringList spoken{m_line.time, m_line.name + u' ' + m_line.label, m_line.touch, m_line.answer};
        setAccessibleName(spoken.join(u"，"_s));
    }

protected:
    void resizeEvent(QResizeEvent *) override
    {
        setToolTip(labelRoom() < textWidth(m_line.label, TypeRole::caption) ? accessibleName() : QString());
    }

    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const Palette &palette = paletteOf(this);
        const auto draw = [&](int x, int y, const QString &text, TypeRole role, Tone tone) {
            painter.setPen(palette.color(tone));
            drawTextLine(painter, QPointF(x, y), text, role);
        };
        const auto fromRight = [this](const QString &text) {
            return width() - textWidth(text, TypeRole::caption);
        };
        const int second = lineHeight(TypeRole::caption) + logLineGap;
        draw(0, 0, m_line.name, TypeRole::captionBold, Tone::text);
        draw(labelLeft(), 0,
             QFontMetricsF(fontFor(TypeRole::caption)).elidedText(m_line.label, Qt::ElideMiddle, labelRoom()),
             TypeRole::caption, Tone::text);
        draw(fromRight(m_line.time), 0, m_line.time, TypeRole::caption, Tone::secondary);
        draw(0, second, m_line.touch, TypeRole::caption, Tone::secondary);
        draw(fromRight(m_line.answer), second, m_line.answer, TypeRole::caption,
             m_line.answered ? Tone::secondary : Tone::orange);
    }

private:
    [[nodiscard]] int labelLeft() const
    {
        return textWidth(m_line.name, TypeRole::captionBold) + blockSpacing;
    }
    [[nodiscard]] int labelRoom() const
    {
        return width() - textWidth(m_line.time, TypeRole::caption) - rowSpacing - labelLeft();
    }

    AlertLogLine m_line;
};

} // namespace

AlertLogSection::AlertLogSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_header(new DisclosureHeader(u"提醒记录"_s, u"· 最近 20 条"_s))
    , m_content(new QWidget)
    , m_body(new Collapsible(m_content))
    , m_empty(new TextLabel(u"还没有提醒触发过"_s, TypeRole::caption, Tone::secondary))
{
    auto *rows = columnIn(m_content, logRowGap, {0, blockSpacing, 0, 0});
    rows->addWidget(m_empty);
    auto *column = columnIn(this, 0);
    column->addWidget(m_header);
    column->addWidget(m_body);
    connect(m_header, &DisclosureHeader::clicked, this, [this] { setExpanded(!m_body->isExpanded()); });
    setExpanded(false);
}

void AlertLogSection::refresh()
{
    if (!m_body->isExpanded())
        return;
    auto lines = alertLogLines(m_context.state.alertLog().entries(), m_context.state.clock().now());
    if (lines == m_lines)
        return;
    m_lines = std::move(lines);
    for (QWidget *part : std::exchange(m_parts, {})) {
        m_content->layout()->removeWidget(part);
        part->hide();
        part->deleteLater();
    }
    for (const AlertLogLine &line : m_lines) {
        if (!line.heading.isEmpty())
            m_parts.push_back(new TextLabel(line.heading, TypeRole::captionBold, Tone::secondary));
        m_parts.push_back(new AlertLogRow(line));
    }
    for (QWidget *part : m_parts)
        m_content->layout()->addWidget(part);
    m_empty->setVisible(m_lines.empty());
}

void AlertLogSection::setExpanded(bool expanded)
{
    m_header->setChecked(expanded);
    m_header->setToolTip(expanded ? u"收起提醒记录"_s : u"展开提醒记录"_s);
    m_body->setExpanded(expanded);
    refresh();
}

QList<QWidget *> AlertLogSection::tabStops() const
{
    return {m_header};
}

} // namespace kestrune
