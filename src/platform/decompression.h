// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <optional>

namespace kestrune {

/// The content of gzip or zlib data, checked against their sum; absent when they are damaged, cut off or
/// unpack to more than `largest` bytes, beyond which nothing is unpacked.
[[nodiscard]] std::optional<QByteArray> unpackGzip(const QByteArray &packed, qsizetype largest);

} // namespace kestrune
