// SPDX-License-Identifier: MIT
#pragma once

class QWidget;

namespace kestrune {

/// Brings everything inside `root`, scrolled contents included, to its final place at once. By themselves
/// layouts hand a change up one level per event, which a first picture would show half done.
void settleLayouts(QWidget &root);

} // namespace kestrune
