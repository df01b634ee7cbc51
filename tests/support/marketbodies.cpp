// SPDX-License-Identifier: MIT
#include "support/marketbodies.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <cmath>

namespace kestrune::test {

namespace {

constexpr qint64 dayMs = 86'400'000;
constexpr qint64 shanghaiOffsetMs = 8 * 3'600'000;

QByteArray spelled(double value)
{
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

QByteArray quoted(double value)
{
    return '"' + spelled(value) + '"';
}

QByteArray rows(const CandleList &candles, QByteArray (*row)(const Candle &))
{
    QByteArrayList parts;
    for (const Candle &candle : candles)
        parts.append('[' + row(candle) + ']');
    return '[' + parts.join(',') + ']';
}

QByteArray ticker(const QByteArray &priceKey, double price, const QByteArray &changeKey,
                  std::optional<double> change)
{
    QByteArray object = "{\"" + priceKey + "\":" + quoted(price);
    if (change)
        object += ",\"" + changeKey + "\":" + quoted(*change);
    return object + '}';
}

} // namespace

CandleList waveCandles(std::size_t count, double base)
{
    const qint64 first = QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
    CandleList candles;
    double open = base;
    for (std::size_t i = 0; i < count; ++i) {
        const double step = double(i);
        const double close = base * (1 + 0.06 * std::sin(step * 0.21) + 0.02 * std::sin(step * 0.83));
        candles.push_back({first - shanghaiOffsetMs + qint64(i) * dayMs, open, std::max(open, close) * 1.004,
                           std::min(open, close) * 0.996, close, 100 + 10 * double(i % 7)});
        open = close;
    }
    return candles;
}

QByteArray gateCandles(const CandleList &candles)
{
    return rows(candles, [](const Candle &c) {
        return QByteArrayList{'"' + QByteArray::number(c.ts / 1000) + '"',
                              "\"1\"",
                              quoted(c.c),
                              quoted(c.h),
                              quoted(c.l),
                              quoted(c.o),
                              quoted(c.v)}
            .join(',');
    });
}

QByteArray binanceCandles(const CandleList &candles)
{
    return rows(candles, [](const Candle &c) {
        return QByteArrayList{
            QByteArray::number(c.ts), quoted(c.o), quoted(c.h), quoted(c.l), quoted(c.c), quoted(c.v)}
            .join(',');
    });
}

QByteArray gateTicker(double price, std::optional<double> change)
{
    return '[' + ticker("last", price, "change_percentage", change) + ']';
}

QByteArray binanceTicker(double price, std::optional<double> change)
{
    return ticker("lastPrice", price, "priceChangePercent", change);
}

QByteArray stockCandles(const QString &code, const QString &period, const CandleList &candles)
{
    const QByteArray list = rows(candles, [](const Candle &c) {
        const QDateTime day = QDateTime::fromMSecsSinceEpoch(c.ts + shanghaiOffsetMs, Qt::UTC);
        return QByteArrayList{'"' + day.toString(QStringLiteral("yyyy-MM-dd")).toLatin1() + '"',
                              quoted(c.o),
                              quoted(c.c),
                              quoted(c.h),
                              quoted(c.l),
                              quoted(c.v)}
            .join(',');
    });
    return "{\"code\":0,\"data\":{\"" + code.toLatin1() + "\":{\"qfq" + period.toLatin1() + "\":" + list +
           "}}}";
}

QByteArray stockQuotes(const std::vector<QuoteLine> &quotes)
{
    QByteArray body;
    for (const QuoteLine &quote : quotes) {
        QByteArrayList fields(50, "0");
        fields[0] = "1";
        fields[1] = quote.name;
        fields[2] = quote.code.mid(2);
        fields[3] = spelled(quote.price);
        fields[4] = spelled(quote.price);
        fields[5] = spelled(quote.price);
        fields[32] = spelled(quote.changePct);
        body += "v_" + quote.code + "=\"" + fields.join('~') + "\";\n";
    }
    return body;
}

} // namespace kestrune::test
