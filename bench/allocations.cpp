// SPDX-License-Identifier: MIT
// Heap allocations of single calls, one line each.

#include "analysis/allocationcounter.h"
#include "analysis/randomcandles.h"
#include "analysis/zonebuilding.h"
#include "state/alertrules.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// The most that one of several calls takes; the first one, which may fill caches, does not count.
void report(const char *name, const std::function<void()> &call)
{
    std::size_t most = 0;
    call();
    for (int i = 0; i < 100; ++i) {
        const std::size_t before = allocationCount();
        call();
        most = std::max(most, allocationCount() - before);
    }
    std::printf("%s %zu\n", name, most);
}

void reportZones(const char *name, std::size_t count)
{
    std::mt19937_64 random(99);
    report(name, [&, candles = randomCandles(random, count, 62000)] {
        const auto zones = buildZones(candles, candles.back().c);
        if (zones.empty())
            std::abort(); // an empty answer would cost nothing
    });
}

void reportAlerts(const char *name)
{
    std::vector<PriceAlert> alerts;
    for (int i = 0; i < 1000; ++i)
        alerts.push_back({QString::number(i), 4000.0 + i, true, u"ETH"_s, QString::number(i), false, {}});
    report(name, [&] {
        if (evaluate(alerts, u"ETH", 3000, 1767601800))
            std::abort(); // something fired
    });
}

} // namespace

int main()
{
    if (!countsAllocations())
        return 1;
    reportZones("zones/200", 200);
    reportZones("zones/320", 320);
    reportAlerts("alerts");
    return 0;
}
