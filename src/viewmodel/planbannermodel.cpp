// SPDX-License-Identifier: MIT
#include "viewmodel/planbannermodel.h"

#include "analysis/priceformat.h"
#include "state/appstate.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView warningSign = u"⚠️";
constexpr QStringView separator = u" · ";

} // namespace

std::optional<PlanBannerModel> planBannerModel(const AppState &state)
{
    std::optional<QString> title;
    std::optional<TradePlan> plan;
    if (const auto &picked = state.selectedZonePrice()) {
        const QString type = state.selectedZoneType().value_or(QString());
        title = pickedZoneTitle(*picked, type, state.decimals());
        plan =
            state.planForEntry(*picked, type == u"support" ? TradeDirection::long_ : TradeDirection::short_);
    } else {
        plan = state.tradePlan();
    }
    if (!plan)
        return std::nullopt;
    return PlanBannerModel{std::move(title), *std::move(plan)};
}

QString pickedZoneTitle(double price, QStringView zoneType, int decimals)
{
    const bool support = zoneType == u"support";
    return (support ? u"支撑 "_s : u"阻力 "_s) + fmtP(price, decimals) + u" · "_s +
           rawValue(support ? TradeDirection::long_ : TradeDirection::short_);
}

QString costText(double costPct)
{
    return u"已扣 "_s + QString::number(costPct) + u"% 手续费成本"_s;
}

std::vector<PlanLine> planLines(const TradePlan &plan)
{
    std::vector<PlanLine> lines;
    const auto add = [&lines](const QString &text) {
        const auto sign = text.indexOf(warningSign);
        QString advice = text.left(sign < 0 ? text.size() : sign);
        if (advice.endsWith(separator))
            advice.chop(separator.size());
        if (!advice.isEmpty())
            lines.push_back({advice, false});
        if (sign >= 0)
            lines.push_back({text.mid(sign + warningSign.size()).trimmed(), true});
    };
    if (plan.positionText)
        add(*plan.positionText);
    add(plan.tip);
    if (plan.sessionText)
        lines.push_back({*plan.sessionText, true});
    return lines;
}

void clearPickedZone(AppState &state)
{
    state.selectedZonePrice = std::nullopt;
    state.selectedZoneType = std::nullopt;
}

} // namespace kestrune
