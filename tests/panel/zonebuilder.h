// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"

namespace kestrune::test {

/// A zone with the fields that a row or the sparkline looks at.
inline Zone makeZone(const QString &type, double mid, double distPct = 1, int confirm = 1,
                     QStringList sources = {}, bool isGolden = false)
{
    return Zone(mid, mid, mid, {}, distPct, confirm, isGolden, type, {}, std::move(sources));
}

} // namespace kestrune::test
