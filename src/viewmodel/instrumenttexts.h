// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"

#include <QList>
#include <QString>

namespace kestrune {

class AppState;
class InstrumentBook;

/// What a chip reads: a stock's name where it is known, else the code.
[[nodiscard]] QString instrumentName(const InstrumentBook &book, const QString &symbol);
/// That an instrument was removed, and how many alerts of it stay.
[[nodiscard]] QString removedText(const AppState &state, const QString &symbol);
/// Which stored lists could not be read.
[[nodiscard]] QString damagedListsText(const QList<MarketSegment> &damaged);
/// What can be typed to find an instrument of a segment.
[[nodiscard]] QString searchPrompt(MarketSegment segment);

} // namespace kestrune
