// SPDX-License-Identifier: MIT
#include "snapshot/snapshotpicture.h"

#include "chart/chartpainter.h"
#include "panel/chartsource.h"
#include "panel/popoverview.h"

#include <QImageWriter>
#include <QPainter>
#include <QScopeGuard>

#include <cmath>

namespace kestrune {

namespace {

constexpr int snapshotScale = 2;
constexpr double pixelsPerMetre = 72 / 0.0254;

QImage blankPicture(const QSize &size)
{
    QImage image(size * snapshotScale, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return {};
    image.setDevicePixelRatio(snapshotScale);
    // Here already: told to a picture that is held twice it would make a copy.
    const auto resolution = int(std::lround(pixelsPerMetre * snapshotScale));
    image.setDotsPerMeterX(resolution);
    image.setDotsPerMeterY(resolution);
    return image;
}

} // namespace

const QColor SnapshotPicture::darkBackdrop = QColor::fromRgbF(0.11F, 0.11F, 0.12F);

SnapshotPicture::SnapshotPicture(std::shared_ptr<AppState> state, const QString &marketNotice)
    : m_panel(std::make_unique<PopoverView>(std::move(state), PopoverView::Options{marketNotice, {}}))
{
    m_panel->setDark(true);
    m_panel->setAttribute(Qt::WA_DontShowOnScreen);
}

SnapshotPicture::~SnapshotPicture() = default;

QImage SnapshotPicture::render()
{
    // Only what shows is laid out to the end (the scrolled content above all). No event loop runs meanwhile,
    // so that nothing that turns or pulses moves.
    m_panel->show();
    const auto hideAgain = qScopeGuard([this] { m_panel->hide(); });
    if (m_panel->size().isEmpty())
        return {};
    QImage image = blankPicture(m_panel->size());
    if (image.isNull())
        return {};
    image.fill(darkBackdrop);
    m_panel->render(&image);
    return image;
}

QImage chartImage(const AppState &state, const QSize &size, bool light)
{
    const ChartContent content = chartContent(state);
    QImage image = content.candles.empty() ? QImage() : blankPicture(size);
    if (image.isNull())
        return {};
    const Palette &palette = light ? lightPalette() : darkPalette();
    const ChartScene scene = makeChartScene(content, {}, size, snapshotScale);
    QPainter painter(&image);
    paintChartBase(painter, scene.base, size, palette);
    ChartWords words;
    paintChartFront(painter, scene, content, {}, palette, words);
    return image;
}

bool writePng(const QImage &image, QIODevice &device)
{
    QImageWriter writer(&device, "png");
    writer.setQuality(80); // lossless all the same: compressed a third faster, some 5 % larger
    return writer.write(image);
}

} // namespace kestrune
