// SPDX-License-Identifier: MIT
#include "statusbar/presentation.h"

#include <QList>

#include <array>

namespace kestrune {

namespace {

struct KnownHost
{
    const char *mark; ///< how the program's file name, or that of what it was started with, begins
    NotifierHost host;
};

// Hosts whose treatment has been seen or read; every other one is taken for a row of square icons.
constexpr std::array knownHosts{
    KnownHost{"waybar", NotifierHost::wide},
    KnownHost{"xapp-sn-watcher", NotifierHost::wide},
    KnownHost{"gnome-shell", NotifierHost::shell},
    KnownHost{"mate-panel", NotifierHost::label},
    KnownHost{"notification-area-applet", NotifierHost::label},
    KnownHost{"ayatana-indicator-application", NotifierHost::label},
    KnownHost{"indicator-application-service", NotifierHost::label},
};

} // namespace

NotifierHost notifierHostOf(const QByteArray &commandLine)
{
    // Only the program itself and what it was started through: later arguments are free text.
    const QList<QByteArray> arguments = commandLine.split('\0').mid(0, 2);
    for (const QByteArray &argument : arguments) {
        for (const KnownHost &known : knownHosts) {
            // /usr/lib/mate-panel/notification-area-applet: folders do not count.
            if (argument.mid(argument.lastIndexOf('/') + 1).startsWith(known.mark))
                return known.host;
        }
    }
    return NotifierHost::dot;
}

Presentation choosePresentation(const DesktopFacts &facts)
{
    if (facts.stripForced)
        return {.strip = true};
    if (facts.elsewhere)
        return {};
    const bool keepsPicture = facts.notifier == NotifierHost::wide;
    const bool shell = facts.notifier == NotifierHost::shell;
    if (keepsPicture)
        return {.notifier = true, .strip = facts.unlisted && facts.waited};
    if (facts.tray && !shell) {
        if (!facts.trayIsLate)
            return {.tray = true};
        DesktopFacts otherwise = facts;
        otherwise.tray = false;
        Presentation presentation = choosePresentation(otherwise);
        presentation.tray = true; // it goes on waiting there
        return presentation;
    }
    if (!facts.notifier)
        return {.strip = facts.waited};
    // The neon signs are a picture that neither a dot nor a label can stand for.
    const bool showsText = *facts.notifier != NotifierHost::dot && !facts.bling;
    return {.notifier = true, .strip = (!showsText || facts.unlisted) && facts.waited};
}

} // namespace kestrune
