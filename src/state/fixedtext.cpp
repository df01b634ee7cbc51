// SPDX-License-Identifier: MIT
#include "state/fixedtext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace kestrune {

QString fixedText(double value, int decimals)
{
    constexpr int maxDecimals = 17;
    // Sign, every digit of the largest double, point and decimals.
    std::array<char, std::numeric_limits<double>::max_exponent10 + maxDecimals + 4> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                   std::chars_format::fixed, std::clamp(decimals, 0, maxDecimals))
                         .ptr;
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}

} // namespace kestrune
