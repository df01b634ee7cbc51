// SPDX-License-Identifier: MIT
#pragma once

namespace kestrune {

/// A colour as the state names it; the palette decides how it looks.
enum class NamedColor { red, green, orange, secondary };

} // namespace kestrune
