// SPDX-License-Identifier: MIT
#include "panel/popoverview.h"
#include "panel/zonerow.h"
#include "snapshot/snapshotpicture.h"
#include "support/appfixture.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QBuffer>

#include <cmath>

using namespace kestrune;
using namespace kestrune::test;

namespace {

/// A loaded instrument.
struct Loaded : AppFixture
{
    Loaded()
    {
        serveCrypto(3000);
        start();
    }
};

} // namespace

static void panelConstruction(benchmark::State &run)
{
    Loaded loaded;
    { // fonts and icons are loaded once per program
        PopoverView first(loaded.state);
        first.updateNow();
    }
    for (auto _ : run) {
        PopoverView view(loaded.state);
        view.updateNow();
        benchmark::DoNotOptimize(view.width());
    }
}
BENCHMARK(panelConstruction)->Unit(benchmark::kMillisecond);

/// One price tick with the panel open: the state's own work, the update and the painting of what changed.
static void panelTick(benchmark::State &run)
{
    Loaded loaded;
    loaded.state->marketContextExpanded = run.range(0) != 0;
    loaded.state->accountSize = 12000;
    PopoverView view(loaded.state);
    view.setSettingsExpanded(run.range(0) != 0);
    view.show();
    drainEvents();
    double price = 3000;
    for (auto _ : run) {
        price = price > 3050 ? 2950 : price + 0.37;
        loaded.tickTo(price);
        loaded.clock.advance(std::chrono::seconds(5)); // the price loop's own period
        QApplication::processEvents();
    }
}
BENCHMARK(panelTick)->Arg(0)->Arg(1)->MeasureProcessCPUTime()->Unit(benchmark::kMicrosecond);

/// The same without a panel: what to take off the figure above.
static void tickWithoutPanel(benchmark::State &run)
{
    Loaded loaded;
    double price = 3000;
    for (auto _ : run) {
        price = price > 3050 ? 2950 : price + 0.37;
        loaded.tickTo(price);
        loaded.clock.advance(std::chrono::seconds(5));
        QApplication::processEvents();
    }
}
BENCHMARK(tickWithoutPanel)->Unit(benchmark::kMicrosecond);

static void snapshotRendering(benchmark::State &run)
{
    Loaded loaded;
    SnapshotPicture picture(loaded.state, {});
    for (auto _ : run)
        benchmark::DoNotOptimize(picture.render());
}
BENCHMARK(snapshotRendering)->Unit(benchmark::kMillisecond);

static void snapshotPng(benchmark::State &run)
{
    Loaded loaded;
    const QImage image = SnapshotPicture(loaded.state, {}).render();
    qsizetype size = 0;
    for (auto _ : run) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        benchmark::DoNotOptimize(writePng(image, buffer));
        size = buffer.size();
    }
    run.counters["bytes"] = double(size);
}
BENCHMARK(snapshotPng)->Unit(benchmark::kMillisecond);

/// The toolkit's own writer, for comparison.
static void snapshotPngPlain(benchmark::State &run)
{
    Loaded loaded;
    const QImage image = SnapshotPicture(loaded.state, {}).render();
    for (auto _ : run) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        benchmark::DoNotOptimize(image.save(&buffer, "PNG"));
    }
}
BENCHMARK(snapshotPngPlain)->Unit(benchmark::kMillisecond);
