// SPDX-License-Identifier: MIT
#include "state/sessionwarning.h"

#include <chrono>

using namespace Qt::StringLiterals;

namespace kestrune {

std::optional<QString> sessionWarning(MarketSegment market, Instant now)
{
    using namespace std::chrono;
    if (market != MarketSegment::crypto)
        return std::nullopt;
    const auto minute = floor<minutes>(now);
    const auto midnight = floor<days>(now);

    constexpr int settlementPeriod = 8 * 60;
    constexpr int margin = 9;
    const auto sinceSettlement = (minute - midnight).count() % settlementPeriod;
    if (sinceSettlement <= margin || sinceSettlement >= settlementPeriod - margin)
        return u"临近资金费结算，别把止损贴太近"_s;

    const weekday day{midnight};
    if (day == Saturday || day == Sunday)
        return u"周末流动性低，波动容易被放大"_s;
    return std::nullopt;
}

} // namespace kestrune
