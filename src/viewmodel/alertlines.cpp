// SPDX-License-Identifier: MIT
#include "viewmodel/alertlines.h"

#include "market/marketsegment.h"
#include "state/alertlog.h"
#include "state/alertrules.h"
#include "state/alerttexts.h"
#include "state/appstate.h"
#include "viewmodel/paneltexts.h"
#include "viewmodel/settingsinput.h"
#include "viewmodel/standingtexts.h"

#include <algorithm>
#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr double farPct = 50;
constexpr std::size_t listedFirings = 20;

/// "14:03", or in `otherwise` when that was on another day than `now`.
QString momentText(Instant time, Instant now, const QString &otherwise = u"MM-dd HH:mm"_s)
{
    const QString day = u"yyyy-MM-dd"_s;
    const bool today = localTime(time, day) == localTime(now, day);
    return localTime(time, today ? u"HH:mm"_s : otherwise);
}

QString answerText(const AlertLogEntry &entry, Instant now)
{
    if (!entry.acknowledgedAt)
        return u"未收到"_s;
    const QString where = entry.acknowledgedWhere == "notification"_L1 ? u" · 通知"_s : QString();
    return u"已收到 "_s + momentText(*entry.acknowledgedAt, now) + where;
}

} // namespace

TypedAlert typedAlert(const QString &text, std::optional<double> live, bool asked)
{
    const auto target = fields::alertPrice.accepted(text);
    if (!target)
        return {{}, text.trimmed().isEmpty() ? u"请输入目标价"_s : u"目标价须是大于 0 的数字，请改正"_s};
    const double distPct = live ? (*target - *live) / *live * 100 : 0;
    if (std::abs(distPct) > farPct && !asked)
        return {{}, u"目标价离现价 %1，再按一次回车确认"_s.arg(distanceText(distPct)), true};
    return {target, {}};
}

bool offersRearming(const PriceAlert &alert, std::optional<double> live)
{
    return alert.triggered || (live && !alert.undirected && isHit(alert, *live));
}

QString rearmedText(const PriceAlert &before)
{
    return (before.above ? u"已再设：跌到 "_s : u"已再设：涨到 "_s) +
           alertPriceText(before.symbol, before.targetPrice) + u" 时提醒"_s;
}

FiredAlertLine firedAlertLine(const AppState &state, const PriceAlert &alert)
{
    FiredAlertLine line{alert.id, state.alertName(alert), alert.label, {}, {}};
    if (alert.firedPrice)
        line.price = alertPriceText(alert.symbol, *alert.firedPrice);
    if (alert.lastFiredAt) {
        const std::chrono::duration<double> sinceEpoch(*alert.lastFiredAt);
        line.time = momentText(Instant(std::chrono::duration_cast<Instant::duration>(sinceEpoch)),
                               state.clock().now(), u"MM-dd"_s);
    }
    return line;
}

QString spokenText(const FiredAlertLine &line)
{
    QString text = line.name + u' ' + line.label;
    if (!line.price.isEmpty())
        text += u"，触及 "_s + line.price;
    return line.time.isEmpty() ? text : text + u"，"_s + line.time;
}

std::vector<AlertLogLine> alertLogLines(std::span<const AlertLogEntry> entries, Instant now)
{
    std::vector<AlertLogLine> lines;
    bool away = false;
    const std::size_t count = std::min(entries.size(), listedFirings);
    for (std::size_t i = 1; i <= count; ++i) {
        const AlertLogEntry &entry = entries[entries.size() - i];
        const QString heading = entry.away == away ? QString() : entry.away ? u"离开期间"_s : u"此前"_s;
        away = entry.away;
        lines.push_back(
            {heading, entry.name.isEmpty() ? bareCode(entry.symbol) : entry.name, entry.label,
             momentText(entry.time, now),
             (entry.above ? u"上涨触及 "_s : u"下跌触及 "_s) + alertPriceText(entry.symbol, entry.price),
             answerText(entry, now), entry.acknowledgedAt.has_value()});
    }
    return lines;
}

} // namespace kestrune
