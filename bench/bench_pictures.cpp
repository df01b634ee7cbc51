// SPDX-License-Identifier: MIT
#include "panel/helpview.h"
#include "panel/pixelsparkline.h"
#include "panel/zonerow.h"
#include "statusbar/statusimage.h"
#include "ui/textlabel.h"

#include <QCoreApplication>
#include <QImage>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include <sys/resource.h>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

long contextSwitches()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

/// Runs the loop and reports voluntary context switches per picture beside the time.
template <typename Draw>
void drawPictures(benchmark::State &state, Draw draw)
{
    int pulse = 0;
    draw(pulse); // fonts and glyphs are loaded once per run of the program
    const long before = contextSwitches();
    for (auto _ : state)
        draw(++pulse);
    state.counters["switches"] = benchmark::Counter(static_cast<double>(contextSwitches() - before),
                                                    benchmark::Counter::kAvgIterations);
}

/// A new price at every turn: nothing of the text may come from an earlier picture.
QString priceText(int turn)
{
    return u"ETH "_s + QString::number(3000 + turn % 997) + u'.' + QString::number(10 + turn % 89);
}

void statusPicture(benchmark::State &state)
{
    drawPictures(state, [](int turn) {
        benchmark::DoNotOptimize(makeStatusBarImage({.text = priceText(turn),
                                                     .signal = BarSignal::buy,
                                                     .alertActive = turn % 2 == 0,
                                                     .pulse = turn,
                                                     .dark = true}));
    });
}
BENCHMARK(statusPicture)->Unit(benchmark::kMicrosecond);

void statusOnScreen(benchmark::State &state)
{
    const double scale = static_cast<double>(state.range(0)) / 100;
    QImage screen(600, 60, QImage::Format_ARGB32_Premultiplied);
    screen.fill(Qt::black);
    drawPictures(state, [&](int turn) {
        QPainter painter(&screen);
        painter.scale(scale, scale);
        paintStatus(painter, {4, 2}, {.text = priceText(turn), .signal = BarSignal::sell, .dark = true});
    });
}
BENCHMARK(statusOnScreen)->Arg(100)->Arg(125)->Arg(200)->Unit(benchmark::kMicrosecond);

std::vector<BlingItem> eightCoins(int turn)
{
    const double move = 1 + turn % 7 * 0.001;
    return {{u"BTC"_s, 67250.5 * move, 1.2}, {u"ETH"_s, 3120.4 * move, -0.4}, {u"SOL"_s, 171.23 * move, 0},
            {u"BNB"_s, 612.5 * move, {}},    {u"XRP"_s, 0.5234 * move, 2.0},  {u"DOGE"_s, 0.1234 * move, {}},
            {u"ADA"_s, 0.4512 * move, -3.1}, {u"LINK"_s, 14.52 * move, 0.7}};
}

void neonPicture(benchmark::State &state)
{
    drawPictures(state,
                 [](int turn) { benchmark::DoNotOptimize(makeBlingStatusBarImage(eightCoins(turn), turn)); });
}
BENCHMARK(neonPicture)->Unit(benchmark::kMicrosecond);

Zone exampleZone(int turn)
{
    return Zone(3400, 3420, 3410, {}, -1.1 - turn % 90 * 0.01, 3, true, u"support"_s, {},
                {u"vol"_s, u"pivot"_s});
}

/// What a price tick costs one row: new texts and the paint into its window.
void zoneRowTick(benchmark::State &state)
{
    QWidget window;
    window.resize(320, 60);
    auto *row = new ZoneRow(exampleZone(0), 2, &window);
    row->setGeometry(8, 4, 304, row->heightForWidth(304));
    window.show();
    QCoreApplication::processEvents();
    drawPictures(state, [row](int turn) {
        row->setZone(exampleZone(turn), 2);
        QCoreApplication::processEvents();
    });
}
BENCHMARK(zoneRowTick)->Unit(benchmark::kMicrosecond);

void zoneRowConstruction(benchmark::State &state)
{
    for (auto _ : state) {
        ZoneRow row(exampleZone(1), 2);
        benchmark::DoNotOptimize(row.heightForWidth(304));
    }
}
BENCHMARK(zoneRowConstruction)->Unit(benchmark::kMicrosecond);

void labelTick(benchmark::State &state)
{
    TextLabel label(u"3,456.78"_s, TypeRole::price);
    label.resize(label.sizeHint());
    QImage screen(label.size(), QImage::Format_ARGB32_Premultiplied);
    drawPictures(state, [&](int turn) {
        label.setText(QString::number(3000 + turn % 997));
        label.render(&screen);
    });
}
BENCHMARK(labelTick)->Unit(benchmark::kMicrosecond);

void sparklinePulse(benchmark::State &state)
{
    double now = 0;
    PixelSparkline sparkline([&now] { return now += 0.25; });
    std::vector<double> data;
    for (int i = 0; i < 200; ++i)
        data.push_back(3450 + 90 * std::sin(i * 0.19) + 40 * std::sin(i * 0.7));
    sparkline.resize(70, 16);
    sparkline.setContent(data, std::vector(6, exampleZone(3)));
    QImage screen(140, 32, QImage::Format_ARGB32_Premultiplied);
    screen.setDevicePixelRatio(2);
    drawPictures(state, [&](int) { sparkline.render(&screen); });
}
BENCHMARK(sparklinePulse)->Unit(benchmark::kMicrosecond);

void helpConstruction(benchmark::State &state)
{
    for (auto _ : state) {
        const auto help = std::make_unique<HelpView>();
        help->ensurePolished();
        benchmark::DoNotOptimize(help->sizeHint());
    }
}
BENCHMARK(helpConstruction)->Unit(benchmark::kMicrosecond);

} // namespace
