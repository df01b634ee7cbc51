// SPDX-License-Identifier: MIT
#include "platform/preferences.h"

#include <cmath>
#include <limits>

namespace kestrune {

std::optional<QString> Preferences::text(const QString &key) const
{
    const QJsonValue value = json(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<bool> Preferences::boolean(const QString &key) const
{
    const QJsonValue value = json(key);
    return value.isBool() ? std::optional(value.toBool()) : std::nullopt;
}

std::optional<double> Preferences::number(const QString &key) const
{
    const QJsonValue value = json(key);
    return value.isDouble() && std::isfinite(value.toDouble()) ? std::optional(value.toDouble())
                                                               : std::nullopt;
}

std::optional<int> Preferences::integer(const QString &key) const
{
    const auto value = number(key);
    if (!value || std::trunc(*value) != *value || *value < std::numeric_limits<int>::min() ||
        *value > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return static_cast<int>(*value);
}

void Preferences::setText(const QString &key, const QString &value)
{
    setJson(key, value.isValidUtf16() ? value : QString::fromUtf8(value.toUtf8()));
}

void Preferences::setNumber(const QString &key, double value)
{
    if (std::isfinite(value))
        setJson(key, value);
}

} // namespace kestrune
