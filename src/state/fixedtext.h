// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

/// What printf's "%.*f" gives in the C locale, whatever locale the process runs in: the binary value rounded
/// half to even. `decimals` 0 to 17. (QString's own 'f' formats round an exact half away from zero.)
[[nodiscard]] QString fixedText(double value, int decimals);

} // namespace kestrune
