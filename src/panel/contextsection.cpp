// SPDX-License-Identifier: MIT
#include "panel/contextsection.h"

#include "panel/tones.h"
#include "ui/boxlayouts.h"
#include "ui/disclosure.h"
#include "ui/textlabel.h"
#include "viewmodel/paneltexts.h"

namespace kestrune {

using namespace Qt::StringLiterals;

ContextSection::ContextSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_header(new DisclosureHeader(u"市场背景"_s, u"· 原始指标"_s))
    , m_content(new QWidget)
    , m_body(new Collapsible(m_content))
{
    columnIn(m_content, blockSpacing, {0, blockSpacing, 0, 0});
    auto *column = columnIn(this, 0);
    column->addWidget(m_header);
    column->addWidget(m_body);
    connect(m_header, &DisclosureHeader::clicked, this,
            [&state = m_context.state] { state.marketContextExpanded = !state.marketContextExpanded(); });
}

void ContextSection::addRow()
{
    auto *widget = new QWidget;
    auto *line = rowIn(widget, rowSpacing);
    auto *label = new TextLabel({}, TypeRole::caption, Tone::secondary);
    auto *value = new TextLabel(TypeRole::caption);
    value->setWrap(true);
    value->setAlignment(Qt::AlignRight);
    line->addWidget(label, 0, Qt::AlignTop);
    line->addWidget(value, 1);
    m_content->layout()->addWidget(widget);
    m_rows.push_back({widget, label, value});
}

void ContextSection::refresh()
{
    const bool open = m_context.state.marketContextExpanded();
    m_header->setChecked(open);
    m_header->setToolTip(open ? u"收起原始指标"_s : u"展开 EMA/Vegas/RSI/MACD/ATR/VWAP 原始指标"_s);
    const auto rows = contextRows(m_context.state);
    while (m_rows.size() < rows.size())
        addRow();
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        if (i < rows.size()) {
            m_rows[i].label->setText(rows[i].label);
            m_rows[i].value->setText(rows[i].value);
            m_rows[i].value->setTone(rows[i].color ? toneOf(*rows[i].color) : Tone::text);
        }
        m_rows[i].widget->setVisible(i < rows.size());
    }
    m_body->setExpanded(open);
}

void ContextSection::finishFolding()
{
    m_body->finish();
}

QList<QWidget *> ContextSection::tabStops() const
{
    return {m_header};
}

} // namespace kestrune
