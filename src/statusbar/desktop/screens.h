// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/panelplacement.h"

#include <vector>

namespace kestrune {

/// The screens as they are now.
[[nodiscard]] std::vector<ScreenShape> screenShapes();

} // namespace kestrune
