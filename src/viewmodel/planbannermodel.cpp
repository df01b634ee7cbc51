// SPDX-License-Identifier: MIT
#include "viewmodel/planbannermodel.h"

#include "analysis/priceformat.h"
#include "state/appstate.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView warningSign = u"⚠️";
constexpr QStringView separator = u" · ";

/// "3,457 进", "止盈 3,528（+2.07% +414）" or "每盈利 35.6 上移一次止损".
PlanRow rowOf(const QString &part)
{
    const auto blank = part.indexOf(u' ');
    const QString first = part.left(blank);
    QString second = part.mid(blank + 1);
    if (second == u"进")
        return {.label = second, .number = first, .rest = {}, .ratio = {}};
    const auto bracket = second.indexOf(u'（');
    const auto end = bracket < 0 ? second.indexOf(u' ') : bracket;
    if (end < 0)
        return {.label = first, .number = second, .rest = {}, .ratio = {}};
    QString rest = second.mid(end + 1);
    if (bracket >= 0)
        rest.chop(1);
    return {.label = first, .number = second.left(end), .rest = rest, .ratio = {}};
}

/// Why the picked zone has no plan.
QString reasonFor(bool support, bool stock)
{
    if (support)
        return u"上方没有阻力位可作止盈，没有开单计划"_s;
    return stock ? u"股票不能做空，阻力位没有开单计划"_s : u"下方没有支撑位可作止盈，没有开单计划"_s;
}

} // namespace

std::optional<PlanBannerModel> planBannerModel(const AppState &state)
{
    PlanBannerModel model;
    if (const auto &picked = state.selectedZonePrice()) {
        const QString type = state.selectedZoneType().value_or(QString());
        const bool support = type == u"support";
        model.title = pickedZoneTitle(*picked, type, state.decimals());
        model.plan = state.planForEntry(*picked, support ? TradeDirection::long_ : TradeDirection::short_);
        if (!model.plan)
            model.reason = reasonFor(support, state.isStock());
        return model;
    }
    model.plan = state.tradePlan();
    if (!model.plan && state.isStock() && state.price() && !state.zones().empty())
        model.reason = u"下方没有支撑位，股票不能做空，没有开单计划"_s;
    return model.plan || !model.reason.isEmpty() ? std::optional(std::move(model)) : std::nullopt;
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

std::vector<PlanRow> planRows(const TradePlan &plan)
{
    std::vector<PlanRow> rows;
    for (const QStringView part : QStringView(plan.detail).split(separator, Qt::SkipEmptyParts))
        rows.push_back(rowOf(part.toString()));
    if (plan.tp && !rows.empty())
        rows.back().ratio = plan.netRR;
    return rows;
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

void togglePickedZone(AppState &state, double mid, const QString &type)
{
    if (state.selectedZonePrice() == mid && state.selectedZoneType() == type) {
        clearPickedZone(state);
        return;
    }
    state.selectedZonePrice = mid;
    state.selectedZoneType = type;
}

} // namespace kestrune
