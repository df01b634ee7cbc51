// SPDX-License-Identifier: MIT
#include "support/marketbodies.h"

#include "analysis/utczone.h"

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

/// The pattern filled in for each candle: {s} and {ms} since the epoch, {day} in Shanghai, {o}, {h}, {l},
/// {c}, {v}.
QByteArray rows(const CandleList &candles, const QByteArray &pattern)
{
    QByteArrayList list;
    for (const Candle &candle : candles) {
        const QDateTime day = QDateTime::fromMSecsSinceEpoch(candle.ts + shanghaiOffsetMs, utcZone);
        QByteArray row = pattern;
        row.replace("{s}", QByteArray::number(candle.ts / 1000))
            .replace("{ms}", QByteArray::number(candle.ts));
        row.replace("{day}", day.toString(u"yyyy-MM-dd").toLatin1()).replace("{v}", spelled(candle.v));
        row.replace("{o}", spelled(candle.o)).replace("{h}", spelled(candle.h));
        row.replace("{l}", spelled(candle.l)).replace("{c}", spelled(candle.c));
        list.append(row);
    }
    return '[' + list.join(',') + ']';
}

QByteArray ticker(const QByteArray &priceKey, double price, const QByteArray &changeKey,
                  std::optional<double> change)
{
    const QByteArray more = change ? ",\"" + changeKey + "\":\"" + spelled(*change) + '"' : QByteArray();
    return "{\"" + priceKey + "\":\"" + spelled(price) + '"' + more + '}';
}

} // namespace

CandleList waveCandles(std::size_t count, double base)
{
    const qint64 last = QDateTime(QDate(2026, 1, 5), QTime(8, 0), utcZone).toMSecsSinceEpoch();
    CandleList candles;
    double open = base;
    for (std::size_t i = 0; i < count; ++i) {
        const double step = double(i);
        const double close = base * (1 + 0.06 * std::sin(step * 0.21) + 0.02 * std::sin(step * 0.83));
        candles.push_back({last - qint64(count - 1 - i) * dayMs, open, std::max(open, close) * 1.004,
                           std::min(open, close) * 0.996, close, 100 + 10 * double(i % 7)});
        open = close;
    }
    return candles;
}

QByteArray gateCandles(const CandleList &candles)
{
    return rows(candles, R"(["{s}","1","{c}","{h}","{l}","{o}","{v}"])");
}

QByteArray binanceCandles(const CandleList &candles)
{
    return rows(candles, R"([{ms},"{o}","{h}","{l}","{c}","{v}"])");
}

QByteArray okxCandles(CandleList candles)
{
    std::ranges::reverse(candles);
    return R"({"code":"0","data":)" + rows(candles, R"(["{ms}","{o}","{h}","{l}","{c}","{v}"])") + '}';
}

QByteArray gateTicker(double price, std::optional<double> change)
{
    return '[' + ticker("last", price, "change_percentage", change) + ']';
}

QByteArray binanceTicker(double price, std::optional<double> change)
{
    return ticker("lastPrice", price, "priceChangePercent", change);
}

QByteArray stockCandles(const QString &code, const QString &period, const CandleList &candles,
                        const QByteArray &adjusted)
{
    return R"({"code":0,"data":{")" + code.toLatin1() + R"(":{")" + adjusted + period.toLatin1() +
           "\":" + rows(candles, R"(["{day}","{o}","{c}","{h}","{l}","{v}"])") + "}}}";
}

QByteArray stockQuotes(const std::vector<QuoteLine> &quotes)
{
    QByteArray body;
    for (const QuoteLine &quote : quotes) {
        QByteArrayList fields(50, "0");
        fields[0] = "1";
        fields[1] = quote.name;
        fields[2] = quote.code.mid(2);
        fields[3] = fields[4] = fields[5] = spelled(quote.price);
        fields[30] = quote.time;
        fields[40] = quote.suspended ? "S" : "";
        fields[32] = spelled(quote.changePct);
        body += "v_" + quote.code + "=\"" + fields.join('~') + "\";\n";
    }
    return body;
}

} // namespace kestrune::test
