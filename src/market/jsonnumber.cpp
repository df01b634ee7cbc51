// SPDX-License-Identifier: MIT
#include "market/jsonnumber.h"

#include <QVarLengthArray>

#include <simdjson.h>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <string>

namespace kestrune {

namespace {

/// For valid literals that std::from_chars calls out of range: it does not tell on which side.
double infinityOrZero(std::string_view literal)
{
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(std::string{literal}.c_str(), nullptr, cLocale);
}

std::optional<double> finite(std::optional<double> value)
{
    if (!value || !std::isfinite(*value))
        return std::nullopt;
    return *value;
}

} // namespace

std::optional<double> decimalNumber(std::string_view text)
{
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-'))
            return std::nullopt;
    }
    double value = 0;
    const char *const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc::invalid_argument || stopped != end)
        return std::nullopt;
    return error == std::errc::result_out_of_range ? infinityOrZero(text) : value;
}

std::optional<double> num(const simdjson::dom::element &value)
{
    std::string_view text;
    if (value.get(text) == simdjson::SUCCESS)
        return decimalNumber(text);
    double number = 0;
    if (value.get(number) == simdjson::SUCCESS)
        return number;
    return std::nullopt;
}

std::optional<double> anyNum(const simdjson::dom::element &value)
{
    return finite(num(value));
}

std::optional<double> field(std::span<const QStringView> fields, std::size_t index)
{
    if (index >= fields.size())
        return std::nullopt;
    QVarLengthArray<char, 64> ascii;
    for (const QChar c : fields[index]) {
        if (c > u'\x7e')
            return std::nullopt;
        ascii.append(static_cast<char>(c.unicode()));
    }
    return finite(decimalNumber({ascii.constData(), static_cast<std::size_t>(ascii.size())}));
}

} // namespace kestrune
