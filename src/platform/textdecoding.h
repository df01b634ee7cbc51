// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace kestrune {

/// GB 18030 text; UTF-8 when the bytes are not valid GB 18030; empty when they are neither. A character
/// cut off at the very end counts as an error too.
[[nodiscard]] QString decodeGb18030(const QByteArray &bytes);

} // namespace kestrune
