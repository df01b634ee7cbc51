// SPDX-License-Identifier: MIT
#include "state/conclusion.h"

using namespace Qt::StringLiterals;

namespace kestrune {

QString buildConclusion(std::span<const TimeframeSignal> signalList)
{
    if (signalList.size() != 3)
        return u"数据加载中…"_s;
    const auto bulls = [&](std::size_t i) { return isBull(signalList[i].signal); };
    const auto bears = [&](std::size_t i) { return isBear(signalList[i].signal); };
    const bool allBull = bulls(0) && bulls(1) && bulls(2);
    const bool allBear = bears(0) && bears(1) && bears(2);
    const SignalType longTerm = signalList[2].signal;
    const QString &label = signalList[2].label;

    if (allBull && longTerm == SignalType::strongBull)
        return u"多周期共振看涨 · 偏多格局延续"_s;
    if (allBear && longTerm == SignalType::strongBear)
        return u"多周期共振看跌 · 偏空格局延续"_s;
    if (allBull)
        return u"多周期同步偏多 · 短中长一致"_s;
    if (allBear)
        return u"多周期同步偏空 · 短中长一致"_s;
    if (bulls(2) && (bears(0) || bears(1)))
        return label + u"偏多 · 短线有回调压力"_s;
    if (bears(2) && (bulls(0) || bulls(1)))
        return label + u"偏空 · 短线有反弹"_s;
    // With the long timeframe undecided the middle one plays no part.
    if (longTerm == SignalType::neutral && bulls(0))
        return u"短线反弹 · "_s + label + u"方向不明"_s;
    if (longTerm == SignalType::neutral && bears(0))
        return u"短线回落 · "_s + label + u"方向不明"_s;
    if (longTerm == SignalType::neutral)
        return label + u"方向不明 · 建议观望"_s;
    // Unreachable while the two rows on opposed signals above take every case; kept so that the list of texts
    // is complete when one of them is narrowed.
    if ((bulls(2) && bears(1)) || (bears(2) && bulls(1)))
        return u"多空分歧明显 · 谨慎操作"_s;
    return u"多空拉锯 · 方向待确认"_s;
}

int bullishBalance(std::span<const TimeframeSignal> signalList)
{
    int balance = 0;
    for (const TimeframeSignal &record : signalList)
        balance += int(isBull(record.signal)) - int(isBear(record.signal));
    return balance;
}

} // namespace kestrune
