// SPDX-License-Identifier: MIT
#include "market/stockquote.h"

namespace kestrune {

namespace {

/// Far below a price step; takes up what the decimal prices lose in binary.
constexpr double limitTolerance = 0.000001;

} // namespace

bool StockQuote::isLimitUp() const
{
    return limitUp && *limitUp > 0 && *limitUp - limitTolerance <= price;
}

bool StockQuote::isLimitDown() const
{
    return limitDown && *limitDown > 0 && price <= *limitDown + limitTolerance;
}

} // namespace kestrune
