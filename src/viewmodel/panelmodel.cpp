// SPDX-License-Identifier: MIT
#include "viewmodel/panelmodel.h"

#include "analysis/priceformat.h"
#include "state/fixedtext.h"

#include <QDateTime>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView warningSign = u"⚠️";
constexpr QStringView separator = u" · ";

bool sameLevel(const Zone &a, const Zone &b)
{
    return a.mid == b.mid && a.type == b.type;
}

} // namespace

std::vector<Zone> topZones(std::span<const Zone> zones, QStringView type, std::size_t count)
{
    std::vector<Zone> kept;
    std::ranges::copy_if(zones, std::back_inserter(kept),
                         [&](const Zone &zone) { return zone.type == type; });
    std::ranges::stable_sort(kept, [](const Zone &a, const Zone &b) {
        return a.confirm != b.confirm ? a.confirm > b.confirm : std::abs(a.distPct) < std::abs(b.distPct);
    });
    if (kept.size() > count)
        kept.erase(kept.begin() + std::ptrdiff_t(count), kept.end());
    const bool farthestFirst = type == u"resistance";
    std::ranges::stable_sort(kept, [farthestFirst](const Zone &a, const Zone &b) {
        return farthestFirst ? std::abs(a.distPct) > std::abs(b.distPct)
                             : std::abs(a.distPct) < std::abs(b.distPct);
    });
    return kept;
}

std::vector<Zone> listedZones(std::span<const Zone> zones, QStringView type, double rangePct, int maxCount)
{
    std::vector<Zone> inRange;
    std::ranges::copy_if(zones, std::back_inserter(inRange), [&](const Zone &zone) {
        return zone.type == type && std::abs(zone.distPct) <= rangePct;
    });
    return topZones(inRange, type, std::size_t(std::max(maxCount, 0)));
}

std::vector<std::optional<std::size_t>> matchRows(std::span<const Zone> current, std::span<const Zone> next)
{
    std::vector<std::optional<std::size_t>> matches(next.size());
    std::vector<bool> taken(current.size());
    for (std::size_t i = 0; i < next.size(); ++i) {
        for (std::size_t row = 0; row < current.size() && !matches[i]; ++row) {
            if (!taken[row] && sameLevel(current[row], next[i])) {
                matches[i] = row;
                taken[row] = true;
            }
        }
    }
    for (std::size_t i = 0; i < std::min(next.size(), current.size()); ++i) {
        if (!matches[i] && !taken[i] && current[i].type == next[i].type) {
            matches[i] = i;
            taken[i] = true;
        }
    }
    return matches;
}

QString changeText(double changePct)
{
    return (changePct >= 0 ? u"▲ "_s : u"▼ "_s) + fixedText(changePct, 2) + u'%';
}

QString updateText(Instant lastUpdated)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(lastUpdated).time_since_epoch().count();
    return u"更新 "_s + QDateTime::fromSecsSinceEpoch(seconds).toString(u"HH:mm:ss"_s);
}

QString signalTip(const TimeframeSignal &signal)
{
    return signal.label + u"："_s + signal.reason;
}

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

std::vector<ContextRow> contextRows(const AppState &state)
{
    std::vector<ContextRow> rows{
        {u"趋势"_s, state.trendText(), state.trendColor()},
        {u"RSI(14)"_s, state.rsiText(), state.rsiColor()},
        {u"MACD"_s, state.macdText(), state.macdColor()},
        {u"ATR(14) 止损参考"_s, state.atrText(), std::nullopt},
    };
    if (const auto vwap = state.ctxVWAP())
        rows.push_back({u"VWAP"_s, fmtP(*vwap, state.decimals()), std::nullopt});
    return rows;
}

QString distancesText(std::optional<double> buyDistPct, std::optional<double> sellDistPct)
{
    if (!buyDistPct || !sellDistPct)
        return u"暂无撑压数据"_s;
    return u"距买点 "_s + fixedText(*buyDistPct, 2) + u"% · 距卖点 "_s + fixedText(*sellDistPct, 2) + u"%"_s;
}

QString marketNotice(bool demo, const std::optional<QString> &server)
{
    if (demo)
        return u"演示行情"_s;
    return server ? u"行情服务器 "_s + QUrl(*server).host() : QString();
}

} // namespace kestrune
