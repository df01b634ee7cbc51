// SPDX-License-Identifier: MIT
#pragma once

#include "market/serviceerror.h"

#include <QString>

#include <optional>

namespace kestrune {

/// The live price of a perpetual contract, not range-checked.
struct PriceResult
{
    double price = 0;
    std::optional<double> change; ///< over 24 hours, in percent as the source states it
};

/// One of the prices of several symbols.
struct SymbolPrice
{
    QString symbol; ///< upper-case
    std::optional<double> price;
    std::optional<double> change;        ///< percent
    std::optional<Refusal> refusal = {}; ///< without a price: of the last source that gave one
};

} // namespace kestrune
