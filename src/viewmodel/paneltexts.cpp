// SPDX-License-Identifier: MIT
#include "viewmodel/paneltexts.h"

#include "analysis/priceformat.h"
#include "state/appstate.h"
#include "state/fixedtext.h"

#include <QFileInfo>
#include <QUrl>

namespace kestrune {

using namespace Qt::StringLiterals;

QString changeText(double changePct)
{
    return (changePct >= 0 ? u"▲ "_s : u"▼ "_s) + fixedText(changePct, 2) + u'%';
}

QString distanceText(double distPct)
{
    const QString digits = fixedText(distPct, 2);
    return (digits.startsWith(u'-') ? digits : u'+' + digits) + u'%';
}

QString signalTip(const TimeframeSignal &signal)
{
    return signal.label + u"："_s + signal.reason;
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

QString unreadSettingsText(const UnreadFile &unread)
{
    if (unread.keptAs.isEmpty())
        return u"设置文件无法读取，已原样保留；恢复之前，更改不会保存。"_s;
    const QString kept = u"设置文件无法读取，已另存为 %1；"_s.arg(QFileInfo(unread.keptAs).fileName());
    return kept + (unread.lost ? u"提醒与设置从头开始。"_s : u"本次运行的提醒与设置不变。"_s);
}

QString marketNotice(bool demo, const std::optional<QString> &server)
{
    if (demo)
        return u"演示行情"_s;
    return server ? u"行情服务器 "_s + QUrl(*server).host() : QString();
}

} // namespace kestrune
