// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

class AppState;

/// Selects an instrument of any segment's list by its code, in capitals or not; false, and nothing is done,
/// for a code that no list has.
[[nodiscard]] bool chooseInstrument(AppState &state, const QString &code);
/// Selects the one `step` places on in the segment's list, which closes to a ring; the list's first where the
/// selected one is not in it.
void chooseNeighbour(AppState &state, int step);

} // namespace kestrune
