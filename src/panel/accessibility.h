#pragma once

namespace kestrune {

/// Gives the panel's own widgets their roles and the zone rows their press action over the accessibility
/// interface; the widgets call it themselves. Names and descriptions are the widgets' own.
void installPanelAccessibility();

} // namespace kestrune
