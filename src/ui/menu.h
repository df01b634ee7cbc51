// SPDX-License-Identifier: MIT
#pragma once

class QMenu;
class QWidget;

namespace kestrune {

/// An empty menu in the owner's colours that deletes itself when it closes.
[[nodiscard]] QMenu *makeMenu(QWidget *owner);

} // namespace kestrune
