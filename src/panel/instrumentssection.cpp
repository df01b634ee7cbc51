// SPDX-License-Identifier: MIT
#include "panel/instrumentssection.h"

#include "panel/marketswitch.h"
#include "state/instruments.h"
#include "ui/boxlayouts.h"
#include "ui/chiprow.h"
#include "ui/menu.h"
#include "viewmodel/instrumenttexts.h"

#include <QMenu>

#include <algorithm>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

InstrumentsSection::InstrumentsSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_market(new MarketSwitch(Chip::Look::segment))
    , m_chips(new ChipRow)
    , m_add(new Chip(u"＋"_s))
{
    m_add->setCheckable(false);
    m_add->setAccessibleName(u"添加标的"_s);
    m_add->setToolTip(u"添加标的（/）"_s);
    auto *head = rowIn(nullptr, 0);
    head->addWidget(m_market);
    head->addStretch(1);
    auto *row = rowIn(nullptr, rowSpacing);
    row->addWidget(m_chips, 1);
    row->addWidget(m_add, 0, Qt::AlignVCenter);
    auto *column = columnIn(this, blockSpacing - ChipRow::ringRoom, {0, ChipRow::ringRoom, 0, 0});
    column->addLayout(head);
    column->addLayout(row);
    connect(m_market, &MarketSwitch::marketPicked, this, &InstrumentsSection::marketPicked);
    connect(m_chips, &ChipRow::picked, this, &InstrumentsSection::picked);
    connect(m_chips, &ChipRow::chipsChanged, this, &InstrumentsSection::tabStopsChanged);
    connect(m_chips, &ChipRow::removeRequested, this, &InstrumentsSection::removeInstrument);
    connect(m_chips, &ChipRow::menuRequested, this, &InstrumentsSection::showMenu);
    InstrumentBook &book = m_context.state.instruments();
    connect(m_chips, &ChipRow::moveRequested, &book, &InstrumentBook::move);
    connect(&book, &InstrumentBook::changed, this, [this] { m_itemsStale = true; });
    connect(m_add, &Chip::clicked, this, &InstrumentsSection::addRequested);
}

InstrumentsSection::~InstrumentsSection() = default;

void InstrumentsSection::refresh()
{
    AppState &state = m_context.state;
    m_market->setMarket(state.market());
    if (std::exchange(m_itemsStale, false) || std::exchange(m_itemsOf, state.market()) != state.market()) {
        m_itemsOf = state.market();
        m_items.clear();
        for (const QString &symbol : state.symbolList())
            m_items.push_back({symbol, instrumentName(state.instruments(), symbol)});
    }
    m_chips->setContent(m_items, state.coinSymbol());
}

void InstrumentsSection::pick(qsizetype position)
{
    if (position >= 0 && position < m_context.state.symbolList().size())
        Q_EMIT picked(m_context.state.symbolList()[position]);
}

void InstrumentsSection::step(int places)
{
    const AppState &state = m_context.state;
    const qsizetype at = state.symbolList().indexOf(state.coinSymbol());
    const qsizetype to = std::clamp<qsizetype>(at + places, 0, state.symbolList().size() - 1);
    if (to != at)
        pick(to);
}

void InstrumentsSection::removeInstrument(const QString &symbol)
{
    AppState &state = m_context.state;
    InstrumentBook &book = state.instruments();
    const MarketSegment segment = state.market();
    const bool wasSelected = state.coinSymbol() == symbol;
    const QString name = book.name(symbol);
    const QString message = removedText(state, symbol);
    const std::optional<int> position = book.remove(symbol);
    if (!position) {
        Q_EMIT noted(u"每个市场至少保留一个标的"_s, true, {}, {});
        return;
    }
    Q_EMIT noted(message, false, u"撤销"_s,
                 [&state, &book, symbol, name, segment, wasSelected, at = *position] {
                     book.insert(symbol, at);
                     if (!name.isEmpty())
                         book.noteName(symbol, name);
                     if (wasSelected && state.market() == segment)
                         state.setCoin(symbol);
                 });
}

void InstrumentsSection::resetList()
{
    InstrumentBook &book = m_context.state.instruments();
    const MarketSegment segment = m_context.state.market();
    const QStringList before = book.list(segment);
    book.resetToDefault(segment);
    Q_EMIT noted(u"已恢复默认列表"_s, false, u"撤销"_s,
                 [&book, segment, before] { book.replace(segment, before); });
}

void InstrumentsSection::showMenu(const QString &symbol, const QPoint &globalPosition)
{
    InstrumentBook &book = m_context.state.instruments();
    const QStringList &list = m_context.state.symbolList();
    const int at = int(list.indexOf(symbol));
    QMenu *menu = makeMenu(this);
    menu->addAction(u"移除"_s, this, [this, symbol] { removeInstrument(symbol); });
    menu->addAction(u"左移"_s, &book, [&book, symbol, at] { book.move(symbol, at - 1); })->setEnabled(at > 0);
    menu->addAction(u"右移"_s, &book, [&book, symbol, at] { book.move(symbol, at + 1); })
        ->setEnabled(at + 1 < list.size());
    menu->addSeparator();
    menu->addAction(u"恢复默认列表"_s, this, &InstrumentsSection::resetList)
        ->setEnabled(!book.isDefault(m_context.state.market()));
    menu->popup(globalPosition);
}

QList<QWidget *> InstrumentsSection::tabStops() const
{
    QList<QWidget *> stops = m_market->tabStops();
    for (Chip *chip : m_chips->chips())
        stops << chip;
    return stops << m_add;
}

} // namespace kestrune
