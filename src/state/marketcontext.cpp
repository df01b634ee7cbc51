// SPDX-License-Identifier: MIT
#include "state/marketcontext.h"

#include "analysis/priceformat.h"
#include "state/fixedtext.h"

using namespace Qt::StringLiterals;

namespace kestrune {

Verdict trendVerdict(std::optional<double> price, std::optional<VegasTunnel> vegas,
                     std::optional<double> ema200)
{
    if (price && vegas) {
        if (vegas->up < *price && vegas->down < *price)
            return {u"多头趋势（价格位于 Vegas 隧道上方）"_s, NamedColor::red};
        if (*price < vegas->up && *price < vegas->down)
            return {u"空头趋势（价格位于 Vegas 隧道下方）"_s, NamedColor::green};
        return {u"震荡（价格位于 Vegas 隧道内）"_s, NamedColor::secondary};
    }
    if (price && ema200) {
        if (*price >= *ema200)
            return {u"价格站上 EMA200（偏多）"_s, NamedColor::red};
        return {u"价格跌破 EMA200（偏空）"_s, NamedColor::green};
    }
    return {u"数据不足"_s, NamedColor::secondary};
}

Verdict rsiVerdict(std::optional<double> rsi)
{
    if (!rsi)
        return {u"—"_s, NamedColor::secondary};
    const QString number = fixedText(*rsi, 1);
    if (*rsi >= 70)
        return {number + u" 超买"_s, NamedColor::red};
    if (*rsi <= 30)
        return {number + u" 超卖"_s, NamedColor::green};
    return {number + u" 中性"_s, NamedColor::secondary};
}

Verdict macdVerdict(std::optional<double> histogram)
{
    if (!histogram)
        return {u"—"_s, NamedColor::secondary};
    if (*histogram > 0)
        return {u"多头（柱为正）"_s, NamedColor::red};
    if (*histogram < 0)
        return {u"空头（柱为负）"_s, NamedColor::green};
    return {u"走平"_s, NamedColor::secondary};
}

QString atrReadout(std::optional<double> atr, std::optional<double> price, int decimals)
{
    if (!atr || !price)
        return u"—"_s;
    return fmtP(*atr, decimals) + u"（"_s + fixedText(*atr / *price * 100, 2) + u"%）"_s;
}

} // namespace kestrune
