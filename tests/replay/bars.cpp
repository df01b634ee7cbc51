// SPDX-License-Identifier: MIT
#include "replay/bars.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

#include <algorithm>
#include <cmath>

namespace kestrune::test {

namespace {

double textNumber(const QJsonValue &value)
{
    bool ok = false;
    const double number = value.toString().toDouble(&ok);
    return ok ? number : std::nan("");
}

/// Rows of `size` entries with the prices as text at the positions told: time, open, high, low, close,
/// volume.
std::vector<Bar> readRows(const QJsonArray &rows, int size, const std::array<int, 6> &at, qint64 unit)
{
    std::vector<Bar> bars;
    for (const QJsonValue &value : rows) {
        const QJsonArray row = value.toArray();
        if (row.size() < size)
            return {};
        Bar bar;
        bar.key = row[at[0]].isString() ? row[at[0]].toString() : QString::number(row[at[0]].toInteger());
        bar.ts = bar.key.toLongLong() * unit;
        bar.o = textNumber(row[at[1]]);
        bar.h = textNumber(row[at[2]]);
        bar.l = textNumber(row[at[3]]);
        bar.c = textNumber(row[at[4]]);
        bar.v = textNumber(row[at[5]]);
        bars.push_back(bar);
    }
    return bars;
}

} // namespace

std::vector<Bar> gateBars(const QByteArray &body)
{
    return readRows(QJsonDocument::fromJson(body).array(), 8, {0, 5, 3, 4, 2, 6}, 1000);
}

std::vector<Bar> binanceBars(const QByteArray &body)
{
    return readRows(QJsonDocument::fromJson(body).array(), 12, {0, 1, 2, 3, 4, 5}, 1);
}

std::vector<Bar> okxBars(const QByteArray &body)
{
    const QJsonObject answer = QJsonDocument::fromJson(body).object();
    auto bars = readRows(answer[QLatin1String("data")].toArray(), 9, {0, 1, 2, 3, 4, 6}, 1);
    std::reverse(bars.begin(), bars.end());
    return bars;
}

std::vector<Bar> tencentBars(const QByteArray &body, const QString &code, const QString &key)
{
    const QJsonObject stock =
        QJsonDocument::fromJson(body).object()[QLatin1String("data")].toObject()[code].toObject();
    auto bars = readRows(stock[key].toArray(), 6, {0, 1, 3, 4, 2, 5}, 1);
    for (Bar &bar : bars)
        bar.ts = QDate::fromString(bar.key, Qt::ISODate).startOfDay(Qt::UTC).toMSecsSinceEpoch();
    return bars;
}

QStringList quoteFields(const QByteArray &body, const QString &code)
{
    QStringDecoder decoder("GB18030");
    const QString text = decoder.decode(body);
    for (const QString &line : text.split(QLatin1String(";\n"))) {
        const QString start = QLatin1String("v_") + code + QLatin1String("=\"");
        if (line.startsWith(start) && line.endsWith(QLatin1Char('"')))
            return line.sliced(start.size()).chopped(1).split(QLatin1Char('~'));
    }
    return {};
}

Bar joined(std::span<const Bar> bars)
{
    Bar all = bars.front();
    for (const Bar &bar : bars.subspan(1)) {
        all.h = std::max(all.h, bar.h);
        all.l = std::min(all.l, bar.l);
        all.c = bar.c;
        all.v += bar.v;
    }
    return all;
}

bool sameTrading(const Bar &a, const Bar &b)
{
    return a.o == b.o && a.h == b.h && a.l == b.l && a.c == b.c && std::abs(a.v - b.v) <= 1e-6 * (1 + a.v);
}

bool soundBars(std::span<const Bar> bars)
{
    qint64 before = -1;
    return std::all_of(bars.begin(), bars.end(), [&before](const Bar &bar) {
        const bool later = bar.ts > before;
        before = bar.ts;
        return later && bar.l > 0 && bar.l <= std::min(bar.o, bar.c) && bar.h >= std::max(bar.o, bar.c) &&
               bar.v >= 0;
    });
}

} // namespace kestrune::test
