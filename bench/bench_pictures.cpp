// SPDX-License-Identifier: MIT
// Pictures and the panel, and beside them a bare painter at work on pictures of the same sizes.

#include "chart/chartpainter.h"
#include "panel/chartsource.h"
#include "panel/popoverview.h"
#include "snapshot/snapshotpicture.h"
#include "statusbar/statusimage.h"
#include "support/appfixture.h"
#include "support/marketbodies.h"
#include "viewmodel/chartsize.h"

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QTest>

#include <benchmark/benchmark.h>

#include <sys/resource.h>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

long contextSwitches()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

/// Calls `draw(turn)` again and again; reports voluntary context switches per picture beside the time.
template <typename Draw>
void drawPictures(benchmark::State &state, Draw draw)
{
    int turn = 0;
    draw(turn); // fonts and glyphs are loaded once per run of the program
    const long before = contextSwitches();
    for (auto _ : state)
        draw(++turn);
    state.counters["switches"] = benchmark::Counter(static_cast<double>(contextSwitches() - before),
                                                    benchmark::Counter::kAvgIterations);
}

/// A new price at every turn: nothing of the text may come from an earlier picture.
QString priceText(int turn)
{
    return u"ETH "_s + QString::number(3000 + turn % 997) + u'.' + QString::number(10 + turn % 89);
}

QImage statusPicture(int turn)
{
    return makeStatusBarImage({.text = priceText(turn),
                               .signal = BarSignal::buy,
                               .alertActive = turn % 2 == 0,
                               .pulse = turn,
                               .dark = true})
        .image;
}

QImage neonPicture(int turn)
{
    const double move = 1 + turn % 7 * 0.001;
    return makeBlingStatusBarImage({{u"BTC"_s, 67250.5 * move, 1.2},
                                    {u"ETH"_s, 3120.4 * move, -0.4},
                                    {u"SOL"_s, 171.23 * move, 0},
                                    {u"BNB"_s, 612.5 * move, {}},
                                    {u"XRP"_s, 0.5234 * move, 2.0},
                                    {u"DOGE"_s, 0.1234 * move, {}},
                                    {u"ADA"_s, 0.4512 * move, -3.1},
                                    {u"LINK"_s, 14.52 * move, 0.7}},
                                   turn)
        .image;
}

/// A loaded instrument; the panel over it, with the parts that can be unfolded open or not.
struct Loaded : AppFixture
{
    explicit Loaded(bool unfolded = false)
    {
        serveCrypto(3000);
        start();
        state->marketContextExpanded = unfolded;
        state->accountSize = 12000;
    }
};

QImage panelPicture(int)
{
    const Loaded loaded;
    return SnapshotPicture(loaded.state, {}).render();
}

void picture(benchmark::State &state, QImage (*make)(int turn))
{
    drawPictures(state, [make](int turn) { benchmark::DoNotOptimize(make(turn)); });
}

/// The yardstick: a picture of the same size, filled, with a price on every line and across the whole width.
void painter(benchmark::State &state, QImage (*model)(int turn))
{
    const QSize size = model(0).size();
    drawPictures(state, [size](int turn) {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::black);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::white);
        for (int y = 0; y + 44 <= size.height(); y += 44) {
            painter.drawEllipse(4, y + 4, 12, 12);
            for (int x = 20; x < size.width(); x += 140)
                painter.drawText(x, y + 30, priceText(turn++));
        }
        benchmark::DoNotOptimize(image.constBits());
    });
}

BENCHMARK_CAPTURE(picture, status, statusPicture);
BENCHMARK_CAPTURE(painter, status, statusPicture);
BENCHMARK_CAPTURE(picture, neon, neonPicture);
BENCHMARK_CAPTURE(painter, neon, neonPicture);
BENCHMARK_CAPTURE(painter, panel, panelPicture);

void panelConstruction(benchmark::State &state)
{
    const Loaded loaded;
    drawPictures(state, [&loaded](int) { // the first one also loads fonts and icons
        PopoverView view(loaded.state);
        view.updateNow();
        benchmark::DoNotOptimize(view.width());
    });
}
BENCHMARK(panelConstruction);

/// As many instruments as the lists hold, 600.
void fillLists(InstrumentBook &book)
{
    for (int i = 0; i < InstrumentBook::mostPerSegment; ++i) {
        const QString number = QString::number(60'000 + i);
        book.add(MarketSegment::crypto, u'C' + number, {});
        book.add(MarketSegment::cn, u"sh6"_s + number, u"名称"_s + number);
        book.add(MarketSegment::hk, u"hk"_s + number, u"名称"_s + number);
    }
}

/// One price tick with the panel open: the state's own work, the update and the painting of what changed.
void panelTick(benchmark::State &state)
{
    const bool unfolded = state.range(0) == 1;
    Loaded loaded(unfolded);
    if (state.range(0) == 2)
        fillLists(loaded.state->instruments());
    PopoverView view(loaded.state);
    view.setSettingsExpanded(unfolded);
    view.show();
    drainEvents();
    drawPictures(state, [&loaded](int turn) {
        loaded.tickTo(2950 + turn % 271 * 0.37);
        loaded.clock.advance(std::chrono::seconds(5)); // the price loop's own period
        QApplication::processEvents();
    });
}
BENCHMARK(panelTick)->Arg(0)->Arg(1)->Arg(2)->MeasureProcessCPUTime();

/// A chart with everything on it, as large as it opens, on a screen of twice the density.
struct LoadedChart : Loaded
{
    LoadedChart()
    {
        serveCrypto(3000, waveCandles(320, 3000));
        state->chartLines = QStringLiteral("ema50 ema200 vegas vwap");
        state->maxPerSide = 7;
        state->setCoin(QStringLiteral("BTC"));
        drainEvents();
        content = chartContent(*state);
    }
    static constexpr QSize size = usualChartSize;
    static constexpr int scale = 2;
    ChartContent content;
};

QImage chartPicture(int)
{
    const LoadedChart loaded;
    return chartImage(*loaded.state, LoadedChart::size, false);
}
BENCHMARK_CAPTURE(painter, chart, chartPicture);

/// The whole of it from the content; with an argument of 1 what a tick costs once the layer is there.
void chartPaint(benchmark::State &state)
{
    const bool tick = state.range(0) != 0;
    LoadedChart loaded;
    QImage image(LoadedChart::size * LoadedChart::scale, QImage::Format_RGB32);
    image.setDevicePixelRatio(LoadedChart::scale);
    const QImage layer = image.copy();
    ChartWords words;
    drawPictures(state, [&](int turn) {
        loaded.content.price = ChartPrice{2950 + turn % 271 * 0.37, true};
        const ChartScene scene = makeChartScene(loaded.content, {}, LoadedChart::size, LoadedChart::scale);
        QPainter painter(&image);
        if (tick)
            painter.drawImage(0, 0, layer);
        else
            paintChartBase(painter, scene.base, LoadedChart::size, darkPalette());
        paintChartFront(painter, scene, loaded.content, {}, darkPalette(), words);
    });
}
BENCHMARK(chartPaint)->Arg(0)->Arg(1);

/// From the key to the picture.
void chartOpening(benchmark::State &state)
{
    const LoadedChart loaded;
    PopoverView view(loaded.state);
    view.show();
    drainEvents();
    drawPictures(state, [&](int) {
        for (int twice = 0; twice < 2; ++twice) { // open and closed again
            QTest::keyClick(&view, Qt::Key_C);
            QApplication::processEvents();
        }
    });
}
BENCHMARK(chartOpening);

void encoding(benchmark::State &state)
{
    const QImage image = panelPicture(0);
    for (auto _ : state) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        benchmark::DoNotOptimize(writePng(image, buffer));
    }
}
BENCHMARK(encoding);

/// The yardstick: the same samples packed by the library that every writer of such pictures uses.
void packing(benchmark::State &state)
{
    const QImage image = panelPicture(0);
    for (auto _ : state)
        benchmark::DoNotOptimize(qCompress(image.constBits(), image.sizeInBytes(), 1));
}
BENCHMARK(packing);

} // namespace

/// Pictures need an application object around them.
int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
