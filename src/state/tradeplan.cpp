// SPDX-License-Identifier: MIT
#include "state/tradeplan.h"

#include "analysis/priceformat.h"
#include "state/fixedtext.h"
#include "state/positionsizing.h"

#include <QStringBuilder>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

// Each in the order of its enumerators.

const std::array<QString, 2> &directionTexts()
{
    static const std::array texts{u"做多"_s, u"做空"_s};
    return texts;
}

const std::array<QString, 4> &trendTexts()
{
    static const std::array texts{u"顺大势"_s, u"震荡"_s, u"逆势"_s, u"单边"_s};
    return texts;
}

const std::array<QString, 3> &gradeTexts()
{
    static const std::array texts{u"划算"_s, u"一般"_s, u"不划算"_s};
    return texts;
}

template <typename Enum, std::size_t N>
std::optional<Enum> enumeratorOf(const std::array<QString, N> &texts, QStringView text)
{
    const auto found = std::find(texts.begin(), texts.end(), text);
    if (found == texts.end())
        return std::nullopt;
    return static_cast<Enum>(found - texts.begin());
}

bool isLong(TradeDirection dir)
{
    return dir == TradeDirection::long_;
}

QString gainSign(bool gain)
{
    return gain ? u"+"_s : u"\u2212"_s; // a minus sign, not a hyphen
}

double requiredRewardToRisk(TrendState state)
{
    switch (state) {
    case TrendState::counter:
        return 1.5;
    case TrendState::aligned:
        return 1.0;
    case TrendState::mixed:
    case TrendState::breakout:
        break;
    }
    return 1.2;
}

PlanGrade gradeOf(double netRR, TrendState state)
{
    constexpr double band = 0.15; // both edges belong to the better grade
    const double required = requiredRewardToRisk(state);
    if (netRR >= required + band)
        return PlanGrade::good;
    return netRR < required - band ? PlanGrade::poor : PlanGrade::fair;
}

QString trendTag(TrendState state)
{
    switch (state) {
    case TrendState::aligned:
        return u"顺大势 · "_s;
    case TrendState::counter:
        return u"逆势 · "_s;
    case TrendState::mixed:
    case TrendState::breakout:
        break;
    }
    return {};
}

QString trendTip(TrendState state)
{
    switch (state) {
    case TrendState::aligned:
        return u"顺大势：可看到次级阻力，别急着下车"_s;
    case TrendState::mixed:
        return u"震荡市：区间打法，到了就落袋"_s;
    case TrendState::counter:
    case TrendState::breakout:
        break;
    }
    return u"逆势单：到目标就走，别贪"_s;
}

QString headlineOf(const TradePlan &plan, int decimals)
{
    const QString direction = rawValue(plan.dir);
    switch (plan.grade) {
    case PlanGrade::good:
        return trendTag(plan.trend) % u"现在"_s % direction % u"划算"_s;
    case PlanGrade::fair:
        return trendTag(plan.trend) % u"现在"_s % direction % u"一般，小仓位试"_s;
    case PlanGrade::poor:
        break;
    }
    if (plan.waitPrice && *plan.waitPrice > 0) {
        const QString verb = isLong(plan.dir) ? u"回落到"_s : u"涨到"_s;
        return direction % u"不划算，等"_s % verb % u" "_s % fmtP(*plan.waitPrice, decimals) % u" 附近再进"_s;
    }
    return direction % u"不划算，先别动手"_s;
}

/// "104.00（+4.00% +200）": a price with its distance and, where known, the money at stake.
QString pricePart(double price, int decimals, bool above, double pct, const QString &moneyText)
{
    return fmtP(price, decimals) % u"（"_s % gainSign(above) % fixedText(pct, 2) % u"%"_s % moneyText %
           u"）"_s;
}

QString profitText(const PlanSettings &settings, double tpPct, double slPct)
{
    if (!hasRiskBudget(settings))
        return {};
    // Before costs, which only the ratio takes off.
    return u" +"_s % money(tpPct * positionSize(settings, slPct) / 100, settings.locale);
}

QString lossText(const PlanSettings &settings)
{
    if (!hasRiskBudget(settings))
        return {};
    return u" \u2212"_s % money(riskMoney(settings), settings.locale);
}

QString detailOf(const PlanSettings &settings, const TradePlan &plan, double tp)
{
    const int decimals = settings.decimals;
    const bool goesUp = isLong(plan.dir);
    return fmtP(plan.entry, decimals) % u" 进 · 止盈 "_s %
           pricePart(tp, decimals, goesUp, plan.tpPct, profitText(settings, plan.tpPct, plan.slPct)) %
           u" · 止损 "_s % pricePart(plan.sl, decimals, !goesUp, plan.slPct, lossText(settings)) %
           u" · 净盈亏比 "_s % fixedText(plan.netRR, 2);
}

/// The position would be closed by force before the price reaches the stop. Strictly before: see
/// positionText.
bool liquidatedBeforeStop(const TradePlan &plan, double marginShare)
{
    const double distance = liquidationDistance(marginShare);
    return isLong(plan.dir) ? plan.sl < plan.entry * (1 - distance) : plan.sl > plan.entry * (1 + distance);
}

/// The whole multiple at which liquidation lies at the stop, 1 to 125.
int suggestedLeverage(double slPct)
{
    const double multiple = std::floor(1 / (slPct / 100 + 0.005));
    if (multiple >= 125)
        return 125;
    return multiple >= 1 ? static_cast<int>(multiple) : 1; // also for what is no number
}

std::optional<QString> isolatedWarning(const PlanSettings &settings, const TradePlan &plan)
{
    if (!liquidatedBeforeStop(plan, 1 / settings.leverage))
        return std::nullopt;
    return u"⚠️ 逐仓 "_s % wholeLeverage(settings.leverage) % u"x 杠杆会先被强平，建议降到 "_s %
           QString::number(suggestedLeverage(plan.slPct)) % u"x"_s;
}

std::optional<QString> crossWarning(const PlanSettings &settings, const TradePlan &plan)
{
    if (!hasRiskBudget(settings) || !(plan.slPct > 0))
        return u"⚠️ 全仓模式需设置账户总额与单笔风险%"_s;
    const double size = positionSize(settings, plan.slPct);
    if (size / settings.accountSize > settings.leverage)
        return u"⚠️ 全仓仓位超过 "_s % wholeLeverage(settings.leverage) %
               u"x 上限，建议减小风险%"_s;
    if (liquidatedBeforeStop(plan, settings.accountSize / size))
        return u"⚠️ 全仓仓位过大，会先被强平，建议减小风险%"_s;
    return std::nullopt;
}

std::optional<QString> marginWarning(const PlanSettings &settings, const TradePlan &plan)
{
    if (!isLeveraged(settings))
        return std::nullopt;
    return settings.marginMode == MarginMode::isolated ? isolatedWarning(settings, plan)
                                                       : crossWarning(settings, plan);
}

} // namespace

QString rawValue(TradeDirection direction)
{
    return directionTexts()[static_cast<std::size_t>(direction)];
}

std::optional<TradeDirection> tradeDirectionFromRawValue(QStringView text)
{
    return enumeratorOf<TradeDirection>(directionTexts(), text);
}

QString rawValue(TrendState state)
{
    return trendTexts()[static_cast<std::size_t>(state)];
}

std::optional<TrendState> trendStateFromRawValue(QStringView text)
{
    return enumeratorOf<TrendState>(trendTexts(), text);
}

QString rawValue(PlanGrade grade)
{
    return gradeTexts()[static_cast<std::size_t>(grade)];
}

std::optional<PlanGrade> planGradeFromRawValue(QStringView text)
{
    return enumeratorOf<PlanGrade>(gradeTexts(), text);
}

double rewardPct(TradeDirection dir, double entry, double tp)
{
    return isLong(dir) ? (tp - entry) / entry * 100 : (entry - tp) / entry * 100;
}

double netRewardToRisk(TradeDirection dir, double entry, double tp, double slPct, double cost)
{
    return (rewardPct(dir, entry, tp) - cost) / (slPct + cost);
}

TradePlan makePlan(const PlanSettings &settings, TradeDirection dir, double entry, double tp, double sl,
                   double slPct, TrendState state, double cost, const std::optional<QString> &sess,
                   std::optional<double> waitPrice)
{
    const double netRR = netRewardToRisk(dir, entry, tp, slPct, cost);
    TradePlan plan{
        .dir = dir,
        .grade = gradeOf(netRR, state),
        .trend = state,
        .entry = entry,
        .tp = tp,
        .sl = sl,
        .tpPct = rewardPct(dir, entry, tp),
        .slPct = slPct,
        .netRR = netRR,
        .trailStep = 0,
        .costPct = cost,
        .headline = {},
        .detail = {},
        .tip = trendTip(state),
        .positionText = positionText(settings, slPct),
        .sessionText = sess,
        .waitPrice = waitPrice,
    };
    plan.headline = headlineOf(plan, settings.decimals);
    plan.detail = detailOf(settings, plan, tp);
    if (const std::optional<QString> warning = marginWarning(settings, plan)) {
        plan.tip = *warning;
        // deliberate: the headline keeps the wording of the good grade, the warning stands in the tip
        if (plan.grade == PlanGrade::good)
            plan.grade = PlanGrade::fair;
    }
    return plan;
}

TradePlan makeTrendRunPlan(const PlanSettings &settings, TradeDirection dir, double entry, double sl,
                           double atr, double cost, const std::optional<QString> &sess)
{
    constexpr double openTarget = 99; // stands for a ratio without an upper end
    const int decimals = settings.decimals;
    const double slPct = std::abs(sl - entry) / entry * 100;
    const double trailStep = atr > 0 ? atr : entry * 0.01;
    return {
        .dir = dir,
        .grade = slPct > 3 ? PlanGrade::fair : PlanGrade::good,
        .trend = TrendState::breakout,
        .entry = entry,
        .tp = std::nullopt,
        .sl = sl,
        .tpPct = 0,
        .slPct = slPct,
        .netRR = openTarget,
        .trailStep = trailStep,
        .costPct = cost,
        .headline = u"趋势单 · 让利润奔跑"_s,
        // deliberate: one wording for both directions, so the stop of a short plan moves "up" too
        .detail = fmtP(entry, decimals) % u" 进 · 止损 "_s %
                  pricePart(sl, decimals, !isLong(dir), slPct, lossText(settings)) % u" · 每盈利 "_s %
                  fmtP(trailStep, decimals) % u" 上移一次止损"_s,
        .tip = u"单边行情：先上移止损保本，再跟着吃利润"_s,
        .positionText = positionText(settings, slPct),
        .sessionText = sess,
        .waitPrice = std::nullopt,
    };
}

} // namespace kestrune
