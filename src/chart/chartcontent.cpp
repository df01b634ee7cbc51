// SPDX-License-Identifier: MIT
#include "chart/chartcontent.h"

#include "analysis/indicators.h"

#include <QStringList>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

bool reaches(const Candle &candle, double lo, double hi)
{
    return candle.l <= hi && candle.h >= lo;
}

} // namespace

std::span<const ChartLineChoice> chartLineChoices()
{
    static const ChartLineChoice choices[] = {{u"ema50"_s, u"EMA50"_s},
                                              {u"ema200"_s, u"EMA200"_s},
                                              {u"vegas"_s, u"Vegas 通道"_s},
                                              {u"vwap"_s, u"VWAP"_s}};
    return choices;
}

bool isChosen(const QString &chosen, const QString &key)
{
    return chosen.split(u' ').contains(key);
}

QString withToggled(const QString &chosen, const QString &key)
{
    QStringList keys;
    for (const ChartLineChoice &choice : chartLineChoices()) {
        if (isChosen(chosen, choice.key) != (choice.key == key))
            keys.append(choice.key);
    }
    return keys.join(u' ');
}

std::vector<ChartLine> chartLines(std::span<const Candle> candles, const QString &chosen)
{
    std::vector<double> closes;
    closes.reserve(candles.size());
    for (const Candle &candle : candles)
        closes.push_back(candle.c);
    std::vector<ChartLine> lines;
    const auto add = [&](QStringView key, ChartLineKind kind, auto series) {
        if (!isChosen(chosen, key.toString()))
            return;
        if (auto values = series())
            lines.push_back({kind, std::move(*values)});
    };
    add(u"ema50", ChartLineKind::ema50, [&] { return emaSeries(closes, 50); });
    add(u"ema200", ChartLineKind::ema200, [&] { return emaSeries(closes, 200); });
    add(u"vegas", ChartLineKind::vegasUp, [&] { return emaSeries(closes, 144); });
    add(u"vegas", ChartLineKind::vegasDown, [&] { return emaSeries(closes, 169); });
    add(u"vwap", ChartLineKind::vwap, [&] { return vwapSeries(candles); });
    return lines;
}

std::optional<std::size_t> firstTouch(std::span<const Candle> candles, double lo, double hi)
{
    const auto found =
        std::ranges::find_if(candles, [&](const Candle &candle) { return reaches(candle, lo, hi); });
    return found == candles.end() ? std::nullopt : std::optional(std::size_t(found - candles.begin()));
}

int touches(std::span<const Candle> candles, double lo, double hi)
{
    int count = 0;
    bool inside = false;
    for (const Candle &candle : candles) {
        const bool now = reaches(candle, lo, hi);
        count += now && !inside ? 1 : 0;
        inside = now;
    }
    return count;
}

} // namespace kestrune
