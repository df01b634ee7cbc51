// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

// Where the running program is on the session's bus, and what others may ask of it.
inline const QString barBusName = QStringLiteral("org.kestrune.bar");
inline const QString barObjectPath = QStringLiteral("/org/kestrune/Bar1");
inline const QString barInterface = QStringLiteral("org.kestrune.Bar1");
/// The item's menu, as com.canonical.dbusmenu.
inline const QString barMenuPath = QStringLiteral("/org/kestrune/Bar1/Menu");
/// Who owns it shows the item itself, as a part of the desktop's shell.
inline const QString barShellName = QStringLiteral("org.kestrune.bar.Shell");

} // namespace kestrune
