#include "gallery.h"

#include "panel/blingbutton.h"
#include "panel/chip.h"
#include "panel/divider.h"
#include "panel/helpview.h"
#include "panel/iconbutton.h"
#include "panel/icons.h"
#include "panel/pixelsparkline.h"
#include "panel/segmentbutton.h"
#include "panel/spinner.h"
#include "panel/tag.h"
#include "panel/textbutton.h"
#include "panel/textlabel.h"
#include "panel/toast.h"
#include "panel/zonerow.h"
#include "statusbar/statusimage.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

namespace kestrune::test {

using namespace Qt::StringLiterals;

namespace {

double fixedClock()
{
    return 0.3; // the marker phase is 1 here
}

void waitFor(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::AllEvents, 20);
}

void save(QWidget &widget, double scale, const QString &path)
{
    QImage image((QSizeF(widget.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(paletteOf(&widget).ground);
    widget.render(&image);
    image.save(path);
}

Zone zoneOf(double mid, double distPct, int confirm, bool golden, const QString &type, TextList sources)
{
    return Zone(mid * 0.999, mid * 1.001, mid, {u"R1"_s}, distPct, confirm, golden, type, {},
                std::move(sources));
}

QHBoxLayout *makeRow(std::initializer_list<QWidget *> widgets, int spacing, int margin = 14)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(margin, 0, margin, 0);
    row->setSpacing(spacing);
    for (QWidget *widget : widgets)
        row->addWidget(widget);
    row->addStretch();
    return row;
}

QWidget *makeHeader(std::span<const Zone> zones)
{
    auto *header = new QWidget;
    auto *column = new QVBoxLayout(header);
    column->setContentsMargins(0, 0, 0, 0);
    auto *sparkline = new PixelSparkline(fixedClock);
    std::vector<double> data;
    for (int i = 0; i < 60; ++i)
        data.push_back(3450 + 90 * std::sin(i * 0.19) + 40 * std::sin(i * 0.7));
    sparkline->setContent(data, zones);
    column->addLayout(makeRow({new TextLabel(u"ETH/USDT · 永续"_s, TypeRole::headline), sparkline,
                               new TextLabel(u"3,456.78"_s, TypeRole::price, Tone::green)},
                              8));
    column->addLayout(makeRow({new TextLabel(u"▲ 2.35%"_s, TypeRole::captionBold, Tone::green),
                               new TextLabel(u"更新 14:32:05"_s, TypeRole::caption, Tone::secondary),
                               new TextLabel(u"⚠️ 强平 🔔 1.5%"_s, TypeRole::caption, Tone::orange)},
                              8));
    auto *current = new SegmentButton(u"4H"_s);
    current->setChecked(true);
    column->addLayout(makeRow({new SegmentButton(u"1H"_s), current, new SegmentButton(u"日线"_s)}, 2));
    return header;
}

QWidget *makeRows()
{
    auto *box = new QWidget;
    auto *column = new QVBoxLayout(box);
    const int margin = 14 - ZoneRow::overhang;
    column->setContentsMargins(margin, 0, margin, 0);
    column->setSpacing(2);
    const auto add = [column](const Zone &zone, int decimals, bool alert, bool selected) {
        auto *row = new ZoneRow(zone, decimals);
        row->setHasAlert(alert);
        row->setSelected(selected);
        column->addWidget(row);
    };
    add(zoneOf(3642.1, 5.36, 3, false, u"resistance"_s, {u"pivot"_s, u"swing"_s}), 2, false, false);
    add(zoneOf(3528.45, 2.07, 3, true, u"resistance"_s, {u"fib"_s, u"pivot"_s, u"swing"_s, u"vol"_s}), 2,
        true, false);
    add(zoneOf(3418, -1.12, 2, false, u"support"_s, {u"vol"_s, u"pivot"_s}), 2, false, true);
    add(zoneOf(1234567.89, -14.37, 1, false, u"support"_s, {u"swing"_s}), 2, true, true);
    add(zoneOf(0.000012, -0.005, 1, false, u"support"_s, {}), 6, false, false);
    return box;
}

QWidget *makeBlocks()
{
    auto *window = new QWidget;
    auto *column = new QVBoxLayout(window);
    column->setContentsMargins(0, 14, 0, 14);
    column->setSpacing(12);
    const std::vector zones{zoneOf(3528.45, 2, 1, false, u"resistance"_s, {}),
                            zoneOf(3418, -1, 1, false, u"support"_s, {})};
    column->addWidget(makeHeader(zones));
    column->addWidget(new Divider);
    auto *chip = new Chip(u"ETH"_s);
    chip->setChecked(true);
    column->addLayout(makeRow({chip, new Chip(u"BTC"_s), new Chip(u"DOGE"_s), new Chip(u"贵州茅台"_s)}, 6));
    column->addWidget(makeRows());
    column->addWidget(new Divider);
    auto *bling = new BlingButton(fixedClock);
    bling->setOn(true);
    auto *fired = new IconButton(u"bell.fill"_s);
    fired->setTone(Tone::orange);
    auto *add = new IconButton(u"plus.circle.fill"_s);
    add->setTone(Tone::accent);
    column->addLayout(makeRow({fired, add, new IconButton(u"arrow.clockwise"_s),
                               new IconButton(u"questionmark.circle"_s), new IconButton(u"globe"_s),
                               new IconButton(u"command"_s), new Spinner, new BlingButton(fixedClock), bling},
                              6));
    auto *alert = new TextButton(u"设提醒"_s);
    alert->setIconName(u"bell.badge.plus"_s);
    column->addLayout(makeRow(
        {new TextButton(u"收到"_s), alert, new TextButton(u"关闭"_s, TextButton::Look::plain),
         new Tag(u"Vegas"_s, Tone::red), new Tag(u"EMA"_s, Tone::pink), new Tag(u"VWAP"_s, Tone::green)},
        8));
    column->addSpacing(60);
    auto *toast = new Toast(window);
    toast->setAnchor({160, 560}, 292);
    window->setFixedWidth(320);
    window->show();
    toast->setAnchor({160, window->height() - 20}, 292);
    toast->present(u"已刷新 · 3,456.78"_s, false);
    return window;
}

/// Idle, hovered, pressed and keyboard focus, side by side.
void saveStates(const QString &path)
{
    QWidget window;
    window.setFixedSize(320, 300);
    auto *column = new QVBoxLayout(&window);
    const auto hover = [](QWidget *widget) {
        QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
        QApplication::sendEvent(widget, &enter);
    };
    std::vector<QWidget *> hovered;
    std::vector<FlatButton *> pressed;
    const auto addRow = [&](auto make) {
        auto *row = new QHBoxLayout;
        row->setSpacing(12);
        for (int i = 0; i < 4; ++i)
            row->addWidget(make());
        row->addStretch();
        hovered.push_back(row->itemAt(1)->widget());
        pressed.push_back(static_cast<FlatButton *>(row->itemAt(2)->widget()));
        column->addLayout(row);
    };
    addRow([] { return new Chip(u"BTC"_s); });
    addRow([] { return new SegmentButton(u"日线"_s); });
    addRow([] { return new IconButton(u"globe"_s); });
    addRow([] { return new TextButton(u"收到"_s); });
    addRow([] { return new BlingButton(fixedClock); });
    auto *row = new ZoneRow(zoneOf(3528.45, 2.07, 3, true, u"resistance"_s, {u"fib"_s, u"pivot"_s}), 2);
    column->addWidget(row);
    new FocusRing(&window);
    window.show();
    window.activateWindow();
    waitFor(50);
    for (QWidget *widget : hovered)
        hover(widget);
    hover(row);
    for (FlatButton *button : pressed) {
        button->setDown(true);
        Q_EMIT
        button->pressed();
    }
    row->setFocus(Qt::TabFocusReason);
    waitFor(200);
    save(window, 2, path);
}

void saveIcons(const Palette &palette, const QString &path)
{
    const QStringList names{u"bell"_s,
                            u"bell.fill"_s,
                            u"bell.badge.plus"_s,
                            u"xmark.circle.fill"_s,
                            u"plus.circle.fill"_s,
                            u"arrow.clockwise"_s,
                            u"questionmark.circle"_s,
                            u"globe"_s,
                            u"sparkles"_s,
                            u"chart.line.uptrend.xyaxis"_s,
                            u"exclamationmark.triangle.fill"_s,
                            u"checkmark.circle.fill"_s,
                            u"chevron.down.circle.fill"_s,
                            u"chevron.up.circle.fill"_s,
                            u"circle.fill"_s,
                            u"chevron.right"_s,
                            u"chevron.down"_s,
                            u"command"_s,
                            u"minus"_s,
                            u"plus"_s,
                            u"xmark"_s};
    QImage image(7 * 190, 3 * 190, QImage::Format_ARGB32_Premultiplied);
    image.fill(palette.ground);
    QPainter painter(&image);
    int at = 0;
    for (const QString &name : names) {
        const int x = at % 7 * 190 + 10;
        const int y = at / 7 * 190 + 10;
        drawIcon(painter, QRectF(x, y, 128, 128), name, palette.text);
        drawIcon(painter, QRectF(x, y + 140, 16, 16), name, palette.text);
        drawIcon(painter, QRectF(x + 100, y + 140, 24, 24), name, palette.text);
        drawIcon(painter, QRectF(x + 30, y + 140, 20, 20), name, palette.text);
        drawIcon(painter, QRectF(x + 60, y + 140, 32, 32), name, palette.text);
        ++at;
    }
    painter.end();
    image.save(path);
}

void saveStatus(const QString &path)
{
    QImage image(1900, 560, QImage::Format_ARGB32_Premultiplied);
    image.fill(0xFF1E1E20);
    QPainter painter(&image);
    painter.fillRect(QRectF(0, 0, 700, 560), QColor(0xF6F6F6));
    const auto draw = [&painter](double scale, QPointF at, const StatusContent &content) {
        painter.save();
        painter.scale(scale, scale);
        paintStatus(painter, at / scale, content);
        painter.restore();
    };
    for (const bool dark : {false, true}) {
        double y = 10;
        const double x = dark ? 720 : 20;
        for (const BarSignal signal : {BarSignal::buy, BarSignal::sell, BarSignal::neutral}) {
            StatusContent content{u"ETH 3,456.78 ▲2.35%"_s, signal, VAlign::center, 0, false, 0, dark};
            draw(2, {x, y}, content);
            draw(1, {x + 420, y}, content);
            y += 50;
        }
        StatusContent alert{u"贵州茅台 1,688.00"_s, BarSignal::buy, VAlign::center, 0, true, 2, dark};
        draw(2, {x, y}, alert);
        draw(1.25, {x + 420, y}, alert);
    }
    std::vector<BlingItem> items{{u"BTC"_s, 67250.5, 1.2}, {u"ETH"_s, 3120.4, -0.4}, {u"SOL"_s, 171.23, 0},
                                 {u"BNB"_s, 612.5, {}},    {u"XRP"_s, 0.5234, 2.0},  {u"DOGE"_s, {}, {}},
                                 {u"ADA"_s, 0.4512, -3.1}, {u"LINK"_s, 14.52, 0.7}};
    double y = 250;
    for (int pulse = 0; pulse < 3; ++pulse) {
        painter.save();
        painter.scale(2, 2);
        paintBlingStatus(painter, QPointF(20, y) / 2, items, pulse);
        painter.restore();
        y += 56;
    }
    paintBlingStatus(painter, QPointF(20, y), items, 1);
    paintBlingStatus(painter, QPointF(720, y), {}, 1);
    painter.end();
    image.save(path);
}

} // namespace

void writeGallery(const QString &directory)
{
    QDir().mkpath(directory);
    const QDir dir(directory);
    for (const Palette *palette : {&darkPalette(), &lightPalette()}) {
        const QString suffix = palette->dark ? u"-dark.png"_s : u"-light.png"_s;
        QApplication::setPalette(toolkitPalette(*palette));
        const std::unique_ptr<QWidget> blocks(makeBlocks());
        waitFor(300);
        save(*blocks, 2, dir.filePath(u"blocks"_s + suffix));
        save(*blocks, 1, dir.filePath(u"blocks-1x"_s + suffix));
        saveStates(dir.filePath(u"states"_s + suffix));
        HelpView help;
        help.show();
        save(help, 2, dir.filePath(u"help"_s + suffix));
        saveIcons(*palette, dir.filePath(u"icons"_s + suffix));
    }
    saveStatus(dir.filePath(u"status.png"_s));
}

} // namespace kestrune::test
