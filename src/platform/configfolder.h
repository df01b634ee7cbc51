// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

/// Where programs of this user keep their settings: $XDG_CONFIG_HOME where that is an absolute path, else
/// .config in the home folder, which the password entry names when $HOME does not.
[[nodiscard]] QString configFolder();

} // namespace kestrune
