// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace kestrune {

/// Decimal places for displaying a price, by magnitude (0, 1, 2, 4 or 6); NaN, zero and negatives give 6.
[[nodiscard]] int getDecimals(double price);

/// Display text of a price: "," every three digits, exactly `decimals` places (default getDecimals).
/// Rounds the shortest decimal spelling of the double half to even: 1.015 gives 1.02, 2.5 gives 2.
/// Infinities and NaN give what printf's "%.*f" gives.
[[nodiscard]] QString fmtP(double price, std::optional<int> decimals = std::nullopt);

/// The digits of fmtP without grouping: the shortest decimal spelling rounded half to even.
/// -0.0 and values rounding to zero keep their sign. Empty for a non-finite value.
[[nodiscard]] QString roundedDecimal(double value, int decimals);

} // namespace kestrune
