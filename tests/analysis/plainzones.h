// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "analysis/levels.h"

#include <QStringList>
#include <QUuid>

#include <vector>

namespace kestrune::test {

// Zone building written down rule by rule, without any thought of speed: what the real one must equal.

struct PlainZone
{
    QUuid id;
    double lo = 0;
    double hi = 0;
    double mid = 0;
    QStringList names;
    double distPct = 0;
    int confirm = 0;
    bool isGolden = false;
    QString type;
    QString strength;
    QStringList sources;
};

[[nodiscard]] Swings plainSwings(const CandleList &candles, int left, int right);
[[nodiscard]] std::optional<double> plainPOC(const CandleList &candles, int buckets);
[[nodiscard]] std::vector<PlainZone> plainBuildZones(const CandleList &candles, double curPrice, double tick);
[[nodiscard]] std::vector<PlainZone> plainMergeLevels(const Pivot &pivots, const FibResult &fib,
                                                      double curPrice, double tick);

} // namespace kestrune::test
