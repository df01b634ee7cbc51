// SPDX-License-Identifier: MIT
#include "viewmodel/instrumenttexts.h"

#include "state/appstate.h"
#include "state/instruments.h"

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

QString instrumentName(const InstrumentBook &book, const QString &symbol)
{
    const QString name = book.name(symbol);
    return name.isEmpty() ? symbol : name;
}

QString removedText(const AppState &state, const QString &symbol)
{
    QString text = u"已移除 "_s + instrumentName(state.instruments(), symbol);
    if (const auto staying = std::ranges::count(state.alerts(), symbol, &PriceAlert::symbol))
        text += u"，仍有 %1 条提醒"_s.arg(staying);
    return text;
}

QString damagedListsText(const QList<MarketSegment> &damaged)
{
    QStringList segments;
    for (const MarketSegment segment : damaged)
        segments.append(rawValue(segment));
    return segments.join(u'、') + u"的标的列表无法读取，已改用默认列表。"_s;
}

QString searchPrompt(MarketSegment segment)
{
    return segment == MarketSegment::crypto ? u"币种代码，如 PEPE"_s : u"代码、名称或拼音"_s;
}

} // namespace kestrune
