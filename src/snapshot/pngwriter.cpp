// SPDX-License-Identifier: MIT
#include "snapshot/pngwriter.h"

#include <QtEndian>

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace kestrune {

namespace {

constexpr int bytesPerPixel = 4;
constexpr double pixelsPerMetre = 72 / 0.0254;
constexpr qsizetype bufferSize = qsizetype(64) * 1024;
constexpr Bytef filterUp = 2; // each row as its difference to the one above: flat grounds become zeros

QByteArray bigEndian(quint32 value)
{
    const quint32 bytes = qToBigEndian(value);
    return {reinterpret_cast<const char *>(&bytes), sizeof bytes};
}

void appendChunk(QByteArray &png, const QByteArray &type, const QByteArray &data)
{
    const QByteArray body = type + data;
    const auto sum = crc32(0, reinterpret_cast<const Bytef *>(body.constData()), uInt(body.size()));
    png += bigEndian(quint32(data.size())) + body + bigEndian(quint32(sum));
}

QByteArray header(const QImage &image)
{
    // Eight bits, colour with alpha, the only compression and filter method, not interlaced.
    return bigEndian(quint32(image.width())) + bigEndian(quint32(image.height())) +
           QByteArray("\x08\x06\x00\x00\x00", 5);
}

QByteArray resolution(const QImage &image)
{
    const QByteArray perMetre = bigEndian(quint32(std::lround(pixelsPerMetre * image.devicePixelRatio())));
    return perMetre + perMetre + QByteArray("\x01", 1);
}

/// Deflates what it is given, piece by piece, into one byte array.
class Deflater
{
public:
    Deflater() { m_ready = deflateInit(&m_stream, Z_BEST_SPEED) == Z_OK; }
    Deflater(const Deflater &) = delete;
    Deflater &operator=(const Deflater &) = delete;
    ~Deflater() { deflateEnd(&m_stream); }

    [[nodiscard]] bool isReady() const { return m_ready; }
    void add(std::vector<Bytef> &bytes, bool last)
    {
        m_stream.next_in = bytes.data();
        m_stream.avail_in = uInt(bytes.size());
        do {
            const qsizetype used = m_result.size();
            m_result.resize(used + bufferSize);
            m_stream.next_out = reinterpret_cast<Bytef *>(m_result.data() + used);
            m_stream.avail_out = uInt(bufferSize);
            deflate(&m_stream, last ? Z_FINISH : Z_NO_FLUSH);
            m_result.chop(qsizetype(m_stream.avail_out));
        } while (m_stream.avail_out == 0);
    }
    [[nodiscard]] const QByteArray &result() const { return m_result; }

private:
    z_stream m_stream{};
    bool m_ready = false;
    QByteArray m_result;
};

QByteArray deflatedRows(const QImage &image)
{
    Deflater deflater;
    if (!deflater.isReady())
        return {};
    const auto rowBytes = std::size_t(image.width()) * bytesPerPixel;
    std::vector<Bytef> filtered(rowBytes + 1, filterUp);
    const std::vector<uchar> nothingAbove(rowBytes);
    const uchar *above = nothingAbove.data();
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        std::transform(row, row + rowBytes, above, filtered.begin() + 1,
                       [](uchar here, uchar up) { return Bytef(here - up); });
        deflater.add(filtered, y + 1 == image.height());
        above = row;
    }
    return deflater.result();
}

} // namespace

QByteArray encodePng(const QImage &image)
{
    if (image.isNull())
        return {};
    const QImage samples = image.convertToFormat(QImage::Format_RGBA8888);
    const QByteArray pixels = deflatedRows(samples);
    if (pixels.isEmpty())
        return {};
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    appendChunk(png, "IHDR", header(samples));
    appendChunk(png, "pHYs", resolution(image));
    appendChunk(png, "IDAT", pixels);
    appendChunk(png, "IEND", {});
    return png;
}

} // namespace kestrune
