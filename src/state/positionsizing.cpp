// SPDX-License-Identifier: MIT
#include "state/positionsizing.h"

#include "analysis/priceformat.h"
#include "state/fixedtext.h"

#include <QStringBuilder>

#include <unicode/dcfmtsym.h>
#include <unicode/numberformatter.h>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

constexpr double maintenanceMargin = 0.005; // share of the position

/// How a locale writes whole numbers: group separator, minus sign, digits and options are Qt's, which knows
/// the user's settings; the sizes of the groups are ICU's. (Qt 6.4 itself loses separators of Spanish numbers
/// and ends at 64 bits.)
icu::number::LocalizedNumberFormatter wholeNumbers(const QLocale &locale)
{
    using Symbols = icu::DecimalFormatSymbols;
    const auto text = [](const QString &symbol) {
        return icu::UnicodeString(reinterpret_cast<const char16_t *>(symbol.utf16()), int(symbol.size()));
    };
    const icu::Locale name(locale.name().toLatin1().constData());
    UErrorCode error = U_ZERO_ERROR;
    Symbols symbols(name, error);
    symbols.setSymbol(Symbols::kGroupingSeparatorSymbol, text(locale.groupSeparator()));
    symbols.setSymbol(Symbols::kMinusSignSymbol, text(locale.negativeSign()));
    symbols.setSymbol(Symbols::kZeroDigitSymbol, text(locale.zeroDigit())); // and with it the other nine
    const bool groupsFourDigits = locale.toString(1111).contains(locale.groupSeparator());
    return icu::number::NumberFormatter::withLocale(name).symbols(symbols).grouping(
        locale.numberOptions().testFlag(QLocale::OmitGroupSeparator) ? UNUM_GROUPING_OFF
        : groupsFourDigits                                           ? UNUM_GROUPING_ON_ALIGNED
                                                                     : UNUM_GROUPING_MIN2);
}

} // namespace

QString money(double amount, const QLocale &locale)
{
    if (!std::isfinite(amount))
        return fixedText(amount, 0);
    // A formatter costs far more than its use, and a run asks for one locale only.
    thread_local QLocale known = locale;
    thread_local auto formatter = wholeNumbers(locale);
    if (known != locale) {
        known = locale;
        formatter = wholeNumbers(locale);
    }
    UErrorCode error = U_ZERO_ERROR;
    const auto digits = roundedDecimal(amount, 0).toStdString(); // has its sign also where it is zero
    const icu::UnicodeString text = formatter.formatDecimal(digits, error).toString(error);
    return QString::fromUtf16(text.getBuffer(), text.length());
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

    // deliberate: a liquidation exactly at the stop warns here, as a caution, but not in the plan's tip
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
