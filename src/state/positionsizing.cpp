// SPDX-License-Identifier: MIT
#include "state/positionsizing.h"

#include "analysis/priceformat.h"
#include "state/fixedtext.h"

#include <QStringBuilder>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

constexpr double maintenanceMargin = 0.005; // share of the position

/// How a locale writes whole numbers, read off samples. Qt 6.4 itself loses the leading separator where
/// single leading digits stand alone in short numbers only (Spanish 1234, but 1.234.567), and ends at 64
/// bits.
struct WholeNumberStyle
{
    explicit WholeNumberStyle(const QLocale &used) : locale(used), separator(used.groupSeparator())
    {
        for (int digit = 0; digit < 10; ++digit)
            digits[static_cast<std::size_t>(digit)] = used.toString(digit);
        const QStringList groups = used.toString(111'111'111'111'111'111LL).split(separator);
        const qsizetype digitSize = digits[1].size();
        if (!separator.isEmpty() && groups.size() > 2) {
            lowest = groups.constLast().size() / digitSize;
            higher = groups[groups.size() - 2].size() / digitSize;
            minLeading = used.toString(1111).contains(separator) ? 1 : 2;
        }
    }

    [[nodiscard]] QString text(QStringView asciiDigits) const
    {
        const bool grouped = lowest > 0 && asciiDigits.size() - lowest >= minLeading;
        QString result;
        result.reserve(2 * asciiDigits.size());
        for (qsizetype i = 0; i < asciiDigits.size(); ++i) {
            const qsizetype left = asciiDigits.size() - i - lowest; // digits before the lowest group
            if (grouped && i > 0 && left >= 0 && left % higher == 0)
                result += separator;
            result += digits[static_cast<std::size_t>(asciiDigits[i].unicode() - u'0')];
        }
        return result;
    }

    QLocale locale;
    QString separator;
    std::array<QString, 10> digits;
    qsizetype lowest = 0;     ///< digits of the lowest group, 0 without grouping
    qsizetype higher = 0;     ///< of every other group
    qsizetype minLeading = 1; ///< digits that must precede the lowest group for any grouping
};

const WholeNumberStyle &styleOf(const QLocale &locale)
{
    // Sampling costs far more than formatting, and a run asks for one locale only.
    thread_local WholeNumberStyle style(locale);
    if (style.locale != locale)
        style = WholeNumberStyle(locale);
    return style;
}

} // namespace

QString money(double amount, const QLocale &locale)
{
    if (!std::isfinite(amount))
        return fixedText(amount, 0);
    const QString rounded = roundedDecimal(amount, 0);
    const bool negative = rounded.startsWith(u'-'); // also for what rounds to zero from below
    const QStringView digits = QStringView(rounded).sliced(negative ? 1 : 0);
    const QString text = styleOf(locale).text(digits);
    return negative ? locale.negativeSign() + text : text;
}

bool hasRiskBudget(const PlanSettings &settings)
{
    return settings.accountSize > 0 && settings.riskPctPerTrade > 0;
}

double riskMoney(const PlanSettings &settings)
{
    return settings.accountSize * settings.riskPctPerTrade / 100;
}

double positionSize(const PlanSettings &settings, double slPct)
{
    return riskMoney(settings) / (slPct / 100);
}

bool isLeveraged(const PlanSettings &settings)
{
    return settings.leverage > 1 && settings.market == MarketSegment::crypto;
}

QString wholeLeverage(double leverage)
{
    return fixedText(std::trunc(leverage), 0);
}

double liquidationDistance(double marginShare)
{
    return std::max(marginShare - maintenanceMargin, 0.0);
}

std::optional<QString> positionText(const PlanSettings &settings, double slPct)
{
    const double account = settings.accountSize;
    if (!hasRiskBudget(settings) || !(slPct > 0))
        return std::nullopt;
    const double risk = riskMoney(settings);
    const double size = positionSize(settings, slPct);
    const auto amount = [&](double value) { return money(value, settings.locale); };
    const QString start = u"建议仓位 "_s % amount(size);
    const QString loss = u"（亏了只亏 "_s % amount(risk) % u"）"_s;
    if (!isLeveraged(settings))
        return start % loss;

    // deliberate: here a liquidation exactly at the stop warns already, in the plan's tip it does not
    const auto liquidatedFirst = [&](double marginShare) {
        return liquidationDistance(marginShare) * 100 <= slPct;
    };
    const double leverage = settings.leverage;
    if (settings.marginMode == MarginMode::isolated) {
        const QString base =
            start % u" · 逐仓 "_s % wholeLeverage(leverage) % u"x 保证金 "_s % amount(size / leverage) % loss;
        return liquidatedFirst(1 / leverage)
                   ? base % u" · ⚠️ 杠杆偏高（强平距离 < 止损距离）"_s
                   : base;
    }
    const QString base = start % u" · 全仓 保证金 "_s % amount(account) % loss;
    if (size / account > leverage)
        return base % u" · ⚠️ 仓位超过 "_s % wholeLeverage(leverage) % u"x 上限"_s;
    return liquidatedFirst(account / size)
               ? base % u" · ⚠️ 仓位过大（强平距离 < 止损距离）"_s
               : base;
}

} // namespace kestrune
