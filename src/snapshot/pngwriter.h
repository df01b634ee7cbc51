// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QImage>

namespace kestrune {

/// A PNG of 8-bit RGBA samples with the image's device pixel ratio as its resolution (a ratio of 1 is 72
/// pixels per inch). Compressed for speed, a few times faster than the toolkit's own writer; the same image
/// always gives the same bytes. Empty for an image without pixels.
[[nodiscard]] QByteArray encodePng(const QImage &image);

} // namespace kestrune
