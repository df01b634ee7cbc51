// SPDX-License-Identifier: MIT
#include "analysis/priceformat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>

namespace kestrune {

namespace {

constexpr int maxDecimals = 100;

/// A finite magnitude as its shortest decimal spelling: 0.DIGITS times ten to the power of `pointAt`.
struct ShortestDecimal
{
    explicit ShortestDecimal(double magnitude)
    {
        char text[32]; // 17 digits, point, exponent: 24 characters at most
        const auto end =
            std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific).ptr;
        const char *const mark = std::find(text, end, 'e');
        for (const char *at = text; at != mark; ++at) {
            if (*at != '.')
                digits[count++] = *at;
        }
        int exponent = 0;
        std::from_chars(mark[1] == '+' ? mark + 2 : mark + 1, end, exponent);
        pointAt = exponent + 1;
        while (count > 0 && digits[count - 1] == '0')
            --count;
    }

    /// Keeps `wanted` decimal places; a tie goes to the even digit.
    void round(int wanted)
    {
        const int keep = pointAt + wanted;
        if (keep >= count)
            return;
        if (keep < 0) {
            count = 0;
            return;
        }
        const bool above = digits[keep] > '5' || (digits[keep] == '5' && keep + 1 < count);
        const bool tie = digits[keep] == '5' && keep + 1 == count;
        const bool odd = keep > 0 && (digits[keep - 1] - '0') % 2 == 1;
        count = keep;
        if (above || (tie && odd))
            increment();
    }

    /// The digit that stands `place` positions after the decimal point (negative: before it).
    [[nodiscard]] char digitAt(int place) const
    {
        const int index = pointAt + place;
        return index >= 0 && index < count ? digits[index] : '0';
    }

    char digits[24];
    int count = 0;
    int pointAt = 0;

private:
    void increment()
    {
        while (count > 0 && digits[count - 1] == '9')
            --count;
        if (count > 0) {
            ++digits[count - 1];
            return;
        }
        digits[0] = '1';
        count = 1;
        ++pointAt;
    }
};

QString spell(double value, int decimals, bool grouped)
{
    ShortestDecimal decimal(std::abs(value));
    decimals = std::clamp(decimals, 0, maxDecimals);
    decimal.round(decimals);
    const int whole = decimal.count > 0 ? std::max(decimal.pointAt, 1) : 1;
    const bool negative = std::signbit(value);
    const int length =
        int{negative} + whole + (grouped ? (whole - 1) / 3 : 0) + (decimals > 0 ? 1 + decimals : 0);

    QString text(length, Qt::Uninitialized);
    QChar *out = text.data();
    if (negative)
        *out++ = u'-';
    for (int left = whole; left > 0; --left) {
        *out++ = QLatin1Char(decimal.digitAt(-left));
        if (grouped && left > 1 && left % 3 == 1)
            *out++ = u',';
    }
    if (decimals > 0)
        *out++ = u'.';
    for (int place = 0; place < decimals; ++place)
        *out++ = QLatin1Char(decimal.digitAt(place));
    return text;
}

QString spellNonFinite(double value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%f", value);
    return QString::fromLatin1(text);
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
    if (!std::isfinite(price))
        return spellNonFinite(price);
    return spell(price, decimals.value_or(getDecimals(price)), true);
}

QString roundedDecimal(double value, int decimals)
{
    return std::isfinite(value) ? spell(value, decimals, false) : QString();
}

} // namespace kestrune
