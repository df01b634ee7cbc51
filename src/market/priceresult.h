// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

namespace kestrune {

/// The live price of a perpetual contract, not range-checked.
struct PriceResult
{
    double price = 0;
    std::optional<double> change; ///< over 24 hours, in percent as the source states it
};

} // namespace kestrune
