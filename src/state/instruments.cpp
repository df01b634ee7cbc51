// SPDX-License-Identifier: MIT
#include "state/instruments.h"
#include "state/instrumentlists.h"
namespace kestrune {
InstrumentBook::InstrumentBook()
{
    for (auto s : allMarketSegments)
        m_lists[std::size_t(s)] = pickerSymbols(s);
    m_names[QStringLiteral("sh600519")] = QStringLiteral("贵州茅台");
    m_names[QStringLiteral("sz300750")] = QStringLiteral("宁德时代");
    m_names[QStringLiteral("sh601318")] = QStringLiteral("中国平安");
    m_names[QStringLiteral("sz000001")] = QStringLiteral("平安银行");
}
QStringList &InstrumentBook::of(const QString &symbol)
{
    auto m = stockMarketOf(symbol);
    return m_lists[!m ? 0 : *m == StockMarket::hk ? 2 : 1];
}
bool InstrumentBook::contains(const QString &symbol) const
{
    for (auto &l : m_lists)
        if (l.contains(symbol))
            return true;
    return false;
}
bool InstrumentBook::add(MarketSegment s, const QString &symbol, const QString &name)
{
    m_lists[std::size_t(s)].append(symbol);
    m_names[symbol] = name;
    Q_EMIT changed();
    return true;
}
std::optional<int> InstrumentBook::remove(const QString &symbol)
{
    auto &l = of(symbol);
    int at = int(l.indexOf(symbol));
    if (at < 0 || l.size() < 2)
        return {};
    l.removeAt(at);
    Q_EMIT changed();
    return at;
}
void InstrumentBook::insert(const QString &symbol, int position)
{
    of(symbol).insert(position, symbol);
    Q_EMIT changed();
}
void InstrumentBook::move(const QString &symbol, int position)
{
    auto &l = of(symbol);
    l.move(l.indexOf(symbol), position);
    Q_EMIT changed();
}
void InstrumentBook::resetToDefault(MarketSegment s)
{
    m_lists[std::size_t(s)] = pickerSymbols(s);
    Q_EMIT changed();
}
bool InstrumentBook::isDefault(MarketSegment s) const
{
    return m_lists[std::size_t(s)] == pickerSymbols(s);
}
void InstrumentBook::noteName(const QString &symbol, const QString &name)
{
    m_names[symbol] = name;
    Q_EMIT changed();
}
} // namespace kestrune
