// SPDX-License-Identifier: MIT
#include "analysis/randomcandles.h"

#include <QFile>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace kestrune::test {

namespace {

double uniform(std::mt19937_64 &random)
{
    return static_cast<double>(random() >> 11) * 0x1p-53;
}

double anyDouble(std::mt19937_64 &random)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    switch (random() % 12) {
    case 0:
        return std::numeric_limits<double>::quiet_NaN();
    case 1:
        return infinity;
    case 2:
        return -infinity;
    case 3:
        return 0.0;
    case 4:
        return -0.0;
    case 5:
        return std::bit_cast<double>(static_cast<quint64>(random()));
    default:
        return std::floor(uniform(random) * 40) - 10; // small whole numbers meet each other often
    }
}

} // namespace

CandleList randomCandles(std::mt19937_64 &random, std::size_t count, double level, CandleKind kind)
{
    CandleList candles;
    double close = level;
    const double grid = kind == CandleKind::coarse ? level * 0.02 : 0;
    const auto snap = [grid](double price) { return grid > 0 ? std::round(price / grid) * grid : price; };
    for (std::size_t i = 0; i < count; ++i) {
        const auto ts = static_cast<qint64>(i) * 3'600'000;
        if (kind == CandleKind::still) {
            candles.push_back({ts, level, level, level, level, 0});
            continue;
        }
        if (kind == CandleKind::hostile) {
            candles.push_back({ts, anyDouble(random), anyDouble(random), anyDouble(random), anyDouble(random),
                               anyDouble(random)});
            continue;
        }
        const double open = close;
        close = snap(open * (1 + (uniform(random) - 0.5) * 0.04));
        const double high = snap(std::max(open, close) * (1 + uniform(random) * 0.01));
        const double low = snap(std::min(open, close) * (1 - uniform(random) * 0.01));
        candles.push_back({ts, open, high, low, close, std::floor(uniform(random) * 1e6) / 100});
    }
    return candles;
}

CandleList readHistory(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !file.readLine().startsWith("ts_ms,o,h,l,c,v"))
        return {};
    CandleList candles;
    while (!file.atEnd()) {
        const QList<QByteArray> fields = file.readLine().trimmed().split(',');
        if (fields.size() != 6)
            return {};
        candles.push_back({fields[0].toLongLong(), fields[1].toDouble(), fields[2].toDouble(),
                           fields[3].toDouble(), fields[4].toDouble(), fields[5].toDouble()});
    }
    return candles;
}

} // namespace kestrune::test
