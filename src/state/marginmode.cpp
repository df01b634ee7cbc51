// SPDX-License-Identifier: MIT
#include "state/marginmode.h"

using namespace Qt::StringLiterals;

namespace kestrune {

QString rawValue(MarginMode mode)
{
    return mode == MarginMode::isolated ? u"逐仓"_s : u"全仓"_s;
}

std::optional<MarginMode> marginModeFromRawValue(QStringView text)
{
    for (const MarginMode mode : allMarginModes) {
        if (text == rawValue(mode))
            return mode;
    }
    return std::nullopt;
}

} // namespace kestrune
