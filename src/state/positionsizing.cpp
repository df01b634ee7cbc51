#include "state/positionsizing.h"

#include "analysis/priceformat.h"
#include "state/fixedtext.h"

#include <QStringBuilder>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

constexpr double maintenanceMargin = 0.005; // share of the position

/// Groups digits that no integer type holds, as the locale groups the ones that fit.
QString groupedDigits(QStringView digits, const QLocale &locale)
{
    // Eighteen ones, cut at the separators, show the lowest group and the repeated higher one.
    const QString separator = locale.groupSeparator();
    const QStringList sample = locale.toString(111'111'111'111'111'111LL).split(separator);
    if (separator.isEmpty() || sample.size() < 3)
        return digits.toString();
    const qsizetype lowest = sample.constLast().size();
    const qsizetype higher = sample[sample.size() - 2].size();
    qsizetype head = digits.size() - lowest;
    QString grouped = digits.sliced(head).toString();
    while (head > 0) {
        const qsizetype length = std::min(higher, head);
        head -= length;
        grouped = digits.sliced(head, length) % separator % grouped;
    }
    return grouped;
}

} // namespace

QString money(double amount, const QLocale &locale)
{
    if (!std::isfinite(amount))
        return fixedText(amount, 0);
    const QString rounded = roundedDecimal(amount, 0);
    const bool negative = rounded.startsWith(u'-'); // also for what rounds to zero from below
    const QStringView digits = QStringView(rounded).sliced(negative ? 1 : 0);
    bool fits = false;
    const qlonglong whole = digits.toLongLong(&fits);
    const QString grouped = fits ? locale.toString(whole) : groupedDigits(digits, locale);
    return negative ? locale.negativeSign() + grouped : grouped;
}

double liquidationDistance(double marginShare)
{
    return std::max(marginShare - maintenanceMargin, 0.0);
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
