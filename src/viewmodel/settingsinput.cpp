// SPDX-License-Identifier: MIT
#include "viewmodel/settingsinput.h"

#include "state/fixedtext.h"

#include <algorithm>
#include <cmath>

namespace kestrune {

namespace {

std::optional<double> numberIn(const QString &text, bool whole)
{
    bool ok = false;
    const double value = whole ? double(text.toLongLong(&ok)) : text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace

std::optional<double> NumberField::accepted(const QString &text) const
{
    QString digits = text;
    if (amount)
        digits.remove(u',');
    auto value = numberIn(digits, whole);
    if (amount)
        value = value.value_or(0);
    return value && *value >= refusedBelow ? std::optional(limited(*value)) : std::nullopt;
}

double NumberField::limited(double value) const
{
    return std::clamp(value, lowest, highest);
}

QString NumberField::spelled(double value) const
{
    return amount && !(value > 0) ? QString() : fixedText(value, decimals);
}

} // namespace kestrune
