// SPDX-License-Identifier: MIT
#include "snapshot/selection.h"

#include "snapshot/commandline.h"
#include "state/appstate.h"

namespace kestrune {

using namespace Qt::StringLiterals;

Selection Selection::parse(const QStringList &arguments)
{
    return {optionValue(arguments, u"--symbol"_s), optionValue(arguments, u"--market"_s),
            optionValue(arguments, u"--timeframe"_s)};
}

// The segment comes before the symbol, and the timeframe is checked against the segment just set.
void Selection::apply(AppState &state) const
{
    if (market) {
        if (const auto segment = marketSegmentFromRawValue(*market))
            state.setMarket(*segment);
    }
    if (symbol)
        state.setCoin(*symbol);
    if (timeframe && state.timeframeOptions().contains(*timeframe))
        state.setTimeframe(*timeframe);
}

} // namespace kestrune
