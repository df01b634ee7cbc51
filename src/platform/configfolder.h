// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

/// Where programs of this user keep their settings: $XDG_CONFIG_HOME where that is an absolute path, else
/// .config in the home folder, which the password entry names when $HOME does not.
[[nodiscard]] QString configFolder();

/// The same for what they note down: $XDG_STATE_HOME, .local/state.
[[nodiscard]] QString stateFolder();

} // namespace kestrune
