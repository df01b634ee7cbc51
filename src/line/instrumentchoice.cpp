// SPDX-License-Identifier: MIT
#include "line/instrumentchoice.h"

#include "state/appstate.h"
#include "state/instrumentlists.h"

namespace kestrune {

bool chooseInstrument(AppState &state, const QString &code)
{
    for (const MarketSegment segment : allMarketSegments) {
        for (const QString &symbol : pickerSymbols(segment)) {
            if (symbol.compare(code, Qt::CaseInsensitive) != 0)
                continue;
            state.setMarket(segment);
            if (symbol != state.coinSymbol()) // choosing it again would throw its data away
                state.setCoin(symbol);
            return true;
        }
    }
    return false;
}

void chooseNeighbour(AppState &state, int step)
{
    const QStringList &symbols = state.symbolList();
    const qsizetype index = symbols.indexOf(state.coinSymbol());
    const qsizetype next = index < 0 ? 0 : (index + step + symbols.size()) % symbols.size();
    state.setCoin(symbols[next]);
}

} // namespace kestrune
