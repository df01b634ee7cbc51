// SPDX-License-Identifier: MIT
#include "replay/historyfile.h"

#include "replay/marketclock.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace kestrune::replay {

namespace {

std::optional<double> parseNumber(QByteArrayView text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), value);
    if (error != std::errc() || end != text.end() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<qint64> parseTime(QByteArrayView text)
{
    qint64 value = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), value);
    if (error != std::errc() || end != text.end() || value < 0 || value >= MarketClock::endOfTime)
        return std::nullopt;
    return value;
}

std::optional<Candle> parseLine(QByteArrayView line)
{
    std::array<QByteArrayView, 6> fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const qsizetype comma = line.indexOf(',');
        if ((comma < 0) != (i + 1 == fields.size()))
            return std::nullopt;
        fields[i] = line.first(comma < 0 ? line.size() : comma);
        line = line.sliced(comma < 0 ? line.size() : comma + 1);
    }
    const auto time = parseTime(fields[0]);
    std::array<double, 5> values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto value = parseNumber(fields[i + 1]);
        if (!value)
            return std::nullopt;
        values[i] = *value;
    }
    const auto [o, h, l, c, v] = values;
    if (!time || l <= 0 || l > std::min(o, c) || h < std::max(o, c) || v < 0)
        return std::nullopt;
    return Candle{*time, o, h, l, c, v};
}

double threeDecimals(double price)
{
    return std::max(1.0, std::round(price * 1000)) / 1000;
}

void asStockRow(Candle &candle)
{
    for (double *price : {&candle.o, &candle.h, &candle.l, &candle.c})
        *price = threeDecimals(*price);
}

} // namespace

std::optional<HistoryName> parseHistoryName(const QString &fileName)
{
    if (!fileName.endsWith(QLatin1String(".csv")))
        return std::nullopt;
    const QStringList parts = fileName.chopped(4).split(QLatin1Char('_'));
    if (parts.size() < 2)
        return std::nullopt;
    QByteArray code = parts[0].toLatin1();
    const bool pair = code.endsWith("USDT");
    if (pair)
        code.chop(4);
    const Instrument *instrument = findInstrument(code);
    if (!instrument || pair != (instrument->venue == Venue::crypto))
        return std::nullopt;
    const auto interval = intervalFromText(parts[1].toLatin1(), pair ? 0 : chinaOffsetMs);
    if (!interval)
        return std::nullopt;
    return HistoryName{instrument, *interval};
}

HistoryRows parseHistory(QByteArrayView text, const HistoryName &name)
{
    HistoryRows rows;
    const bool stock = name.instrument->venue != Venue::crypto;
    for (int number = 1; !text.isEmpty(); ++number) {
        const qsizetype end = text.indexOf('\n');
        const QByteArrayView line = text.first(end < 0 ? text.size() : end).trimmed();
        text = text.sliced(end < 0 ? text.size() : end + 1);
        const bool heading = number == 1 && line.startsWith("ts_ms");
        if (line.isEmpty() || heading)
            continue;
        auto candle = parseLine(line);
        if (candle)
            candle->ts = bucketStart(name.interval, candle->ts);
        if (!candle || (!rows.candles.empty() && candle->ts <= rows.candles.back().ts)) {
            if (rows.malformedLines++ == 0)
                rows.firstMalformed = number;
            continue;
        }
        if (stock && candle->v == 0)
            continue;
        if (stock)
            asStockRow(*candle);
        rows.candles.push_back(*candle);
    }
    return rows;
}

} // namespace kestrune::replay
