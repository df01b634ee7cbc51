// SPDX-License-Identifier: MIT
#include "analysis/priceformat.h"

#include <unicode/numberformatter.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <utility>

namespace kestrune {

namespace {

using icu::number::LocalizedNumberFormatter;
using icu::number::NumberFormatter;
using icu::number::Precision;

const LocalizedNumberFormatter &formatterFor(int decimals, UNumberGroupingStrategy grouping)
{
    thread_local std::map<std::pair<int, UNumberGroupingStrategy>, LocalizedNumberFormatter> formatters;
    const auto [entry, isNew] = formatters.try_emplace({decimals, grouping});
    if (isNew) {
        entry->second = NumberFormatter::withLocale(icu::Locale::getUS())
                            .grouping(grouping)
                            .precision(Precision::fixedFraction(decimals))
                            .roundingMode(UNUM_ROUND_HALFEVEN);
    }
    return entry->second;
}

QString spell(double value, int decimals, UNumberGroupingStrategy grouping)
{
    char shortest[32]; // 17 digits, signs, point, exponent: 24 characters at most
    // Only this form has no more digits than are needed; the other would spell whole numbers in full.
    const auto end = std::to_chars(shortest, std::end(shortest), value, std::chars_format::scientific).ptr;
    const auto length = end - shortest;
    if (!std::isfinite(value))
        return QString::fromLatin1(shortest, length);
    constexpr int maxDecimals = 100;
    const auto &formatter = formatterFor(std::clamp(decimals, 0, maxDecimals), grouping);
    UErrorCode status = U_ZERO_ERROR; // can only tell that memory has run out
    const icu::UnicodeString text =
        formatter.formatDecimal({shortest, static_cast<int32_t>(length)}, status).toString(status);
    return QString::fromUtf16(text.getBuffer(), text.length());
}

} // namespace

int getDecimals(double price)
{
    if (price >= 1000)
        return 0;
    if (price >= 100)
        return 1;
    if (price >= 1)
        return 2;
    // deliberate: neither 3 nor 5 places exist
    return price >= 0.01 ? 4 : 6;
}

QString fmtP(double price, std::optional<int> decimals)
{
    return spell(price, decimals.value_or(getDecimals(price)), UNUM_GROUPING_THOUSANDS);
}

QString roundedDecimal(double value, int decimals)
{
    return std::isfinite(value) ? spell(value, decimals, UNUM_GROUPING_OFF) : QString();
}

} // namespace kestrune
