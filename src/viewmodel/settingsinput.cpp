// SPDX-License-Identifier: MIT
#include "viewmodel/settingsinput.h"

#include "state/fixedtext.h"

#include <algorithm>
#include <cmath>

namespace kestrune {

namespace {

constexpr double highestLeverage = 125;

} // namespace

std::optional<double> parseDecimal(const QString &text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<qint64> parseWhole(const QString &text)
{
    bool ok = false;
    const qint64 value = text.toLongLong(&ok, 10);
    return ok ? std::optional(value) : std::nullopt;
}

double clampThreshold(double percent)
{
    return std::clamp(percent, 0.5, 20.0);
}

double clampRange(double percent)
{
    return std::clamp(percent, 2.0, 30.0);
}

int clampPerSide(qint64 count)
{
    return int(std::clamp<qint64>(count, 1, 10));
}

QString thresholdFieldText(double percent)
{
    return fixedText(percent, 1);
}

QString rangeFieldText(double percent)
{
    return fixedText(percent, 0);
}

QString perSideFieldText(int count)
{
    return QString::number(count);
}

QString riskFieldText(double percent)
{
    return fixedText(percent, 1);
}

QString leverageFieldText(double leverage)
{
    return fixedText(leverage, 0);
}

QString accountFieldText(double account)
{
    return account > 0 ? fixedText(account, 0) : QString();
}

std::optional<double> acceptedRisk(const QString &text)
{
    const auto value = parseDecimal(text);
    return value && *value > 0 ? value : std::nullopt;
}

std::optional<double> acceptedLeverage(const QString &text)
{
    const auto value = parseDecimal(text);
    return value && *value >= 1 ? std::optional(std::min(*value, highestLeverage)) : std::nullopt;
}

double accountFromText(const QString &text)
{
    QString digits = text;
    digits.remove(u',');
    return parseDecimal(digits).value_or(0);
}

std::optional<double> acceptedAlertPrice(const QString &text)
{
    const auto value = parseDecimal(text);
    return value && *value > 0 ? value : std::nullopt;
}

} // namespace kestrune
