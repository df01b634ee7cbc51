// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <optional>

namespace kestrune {

/// How a host of notifier items treats what it is given.
enum class NotifierHost {
    wide,  ///< keeps a wide picture at full width
    label, ///< shows a label beside a square icon
    shell, ///< a label too, in a shell that squeezes tray windows although it takes them
    dot,   ///< a square icon only
};

/// From the command line of the process that owns the watcher's name, arguments separated by NUL.
[[nodiscard]] NotifierHost notifierHostOf(const QByteArray &commandLine);

/// What the desktop offers right now.
struct DesktopFacts
{
    bool stripForced = false; ///< asked for on the command line
    bool elsewhere = false;   ///< a part of the desktop's shell shows the item
    bool tray = false;        ///< an X11 tray takes windows and has not been found squeezing ours
    bool trayIsLate = false;  ///< has not taken it for so long that something else is to show meanwhile
    bool unlisted = false;    ///< the notifier's host has been told of the item and does not list it
    std::optional<NotifierHost> notifier = std::nullopt; ///< absent without a host
    bool waited = false;                                 ///< hosts that start late have had their time
    bool bling = false;
};

/// Which presentations are up. The strip may stand beside a notifier item whose host shows a dot only, and
/// beside an item that still waits to be let into a tray.
struct Presentation
{
    bool tray = false;
    bool notifier = false;
    bool strip = false;

    [[nodiscard]] bool operator==(const Presentation &) const = default;
};

[[nodiscard]] Presentation choosePresentation(const DesktopFacts &facts);

} // namespace kestrune
