// SPDX-License-Identifier: MIT
#include "chart/charttexts.h"

#include "analysis/priceformat.h"

#include <QDateTime>
#include <QStringList>

#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

QString volumeText(double volume)
{
    if (volume >= 1e8)
        return QString::number(volume / 1e8, 'f', 2) + u" 亿"_s;
    if (volume >= 1e4)
        return QString::number(volume / 1e4, 'f', 2) + u" 万"_s;
    return QString::number(volume, 'f', volume < 100 ? 2 : 0);
}

} // namespace

QString candleTime(const ChartContent &content, std::size_t candle)
{
    return QDateTime::fromMSecsSinceEpoch(content.candles[candle].ts, content.timeZone)
        .toString(content.intraday ? u"yyyy-MM-dd HH:mm"_s : u"yyyy-MM-dd"_s);
}

CandleWords candleWords(const ChartContent &content, std::size_t candle)
{
    const Candle &own = content.candles[candle];
    const double before = candle > 0 ? content.candles[candle - 1].c : own.o;
    const auto price = [&](double value) { return fmtP(value, content.decimals); };
    const double change = before > 0 ? (own.c - before) / before * 100 : 0;
    return {u"开 %1  高 %2  低 %3  收 %4"_s.arg(price(own.o), price(own.h), price(own.l), price(own.c)),
            (change >= 0 ? u"+"_s : QString()) + QString::number(change, 'f', 2) + u'%',
            own.v > 0 ? u"量 "_s + volumeText(own.v) : QString(), change >= 0 ? Tone::green : Tone::red};
}

QString zoneWords(const ChartContent &content, std::size_t zone)
{
    const ChartZone &own = content.zones[zone];
    QString words = (own.isResistance() ? u"阻力 "_s : u"支撑 "_s) + fmtP(own.mid, content.decimals);
    if (!own.tags.isEmpty())
        words += u" · "_s + own.tags;
    return words + u" · 触及 %1 次"_s.arg(touches(content.candles, own.lo, own.hi));
}

QString chartDescription(const ChartContent &content, const OptionalChartView &view,
                         std::optional<double> cursor)
{
    const CandleStretch shown = shownCandles(shownOf(view, content.candles.size()), content.candles.size());
    if (shown.begin == shown.end)
        return content.title.isEmpty() ? content.message : content.title + u"，"_s + content.message;
    QStringList parts{content.title,
                      candleTime(content, shown.begin) + u" 至 "_s + candleTime(content, shown.end - 1),
                      u"最新收盘 "_s + fmtP(content.candles.back().c, content.decimals)};
    const double here = content.price ? content.price->value : content.candles.back().c;
    for (const bool above : {true, false}) {
        const ChartZone *nearest = nullptr;
        for (const ChartZone &zone : content.zones) {
            if (zone.isResistance() == above &&
                (!nearest || std::abs(zone.mid - here) < std::abs(nearest->mid - here)))
                nearest = &zone;
        }
        if (nearest)
            parts.append((above ? u"最近阻力 "_s : u"最近支撑 "_s) + fmtP(nearest->mid, content.decimals));
    }
    if (!content.zonesCaveat.isEmpty())
        parts.append(content.zonesCaveat);
    if (cursor)
        parts.append(u"光标 "_s + fmtP(*cursor, content.decimals));
    return parts.join(u"，"_s);
}

Tone zoneTone(const ChartZone &zone)
{
    return zone.isResistance() ? Tone::red : Tone::green;
}

} // namespace kestrune
