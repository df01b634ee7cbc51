// SPDX-License-Identifier: MIT
#pragma once

namespace kestrune {

/// Lists every visible top-level window, popups included, among the application's accessible children. The
/// toolkit leaves popups out, and the panel is one. Call once, with the application object there.
void installAccessibleRoot();

} // namespace kestrune
