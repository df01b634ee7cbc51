// SPDX-License-Identifier: MIT
#pragma once

#include "state/plansettings.h"

#include <QString>

#include <optional>

namespace kestrune {

// `long` and `short` are words of the language, hence the underscores.
enum class TradeDirection { long_, short_ };
[[nodiscard]] QString rawValue(TradeDirection direction); ///< "做多", "做空"
[[nodiscard]] std::optional<TradeDirection> tradeDirectionFromRawValue(QStringView text);

enum class TrendState { aligned, mixed, counter, breakout };
[[nodiscard]] QString rawValue(TrendState state); ///< "顺大势", "震荡", "逆势", "单边"
[[nodiscard]] std::optional<TrendState> trendStateFromRawValue(QStringView text);

enum class PlanGrade { good, fair, poor };
[[nodiscard]] QString rawValue(PlanGrade grade); ///< "划算", "一般", "不划算"
[[nodiscard]] std::optional<PlanGrade> planGradeFromRawValue(QStringView text);

/// A ready-to-read trade plan. Percentages in percent units, prices in the quote currency.
struct TradePlan
{
    TradeDirection dir;
    PlanGrade grade;
    TrendState trend;
    double entry;
    std::optional<double> tp; ///< none for trend-run plans
    double sl;
    double tpPct;     ///< in the trade's favour, percent of entry; 0 for trend-run plans
    double slPct;     ///< percent of entry
    double netRR;     ///< net reward to risk after costs; 99 for trend-run plans
    double trailStep; ///< price step of a trailed stop; 0 for zone plans
    double costPct;   ///< round-trip cost, percent
    QString headline;
    QString detail;
    QString tip; ///< advice, or the margin warning that replaces it
    std::optional<QString> positionText;
    std::optional<QString> sessionText;
    std::optional<double> waitPrice;
};

/// Distance to the target in percent of the entry, positive in the trade's favour.
[[nodiscard]] double rewardPct(TradeDirection dir, double entry, double tp);
/// What is left of the reward after costs for one unit of risk and costs; `slPct` and `cost` in percent.
[[nodiscard]] double netRewardToRisk(TradeDirection dir, double entry, double tp, double slPct, double cost);

/// A plan between two zones.
[[nodiscard]] TradePlan makePlan(const PlanSettings &settings, TradeDirection dir, double entry, double tp,
                                 double sl, double slPct, TrendState state, double cost,
                                 const std::optional<QString> &sess, std::optional<double> waitPrice);

/// A one-sided plan that lets profits run.
[[nodiscard]] TradePlan makeTrendRunPlan(const PlanSettings &settings, TradeDirection dir, double entry,
                                         double sl, double atr, double cost,
                                         const std::optional<QString> &sess);

} // namespace kestrune
