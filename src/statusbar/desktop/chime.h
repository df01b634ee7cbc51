// SPDX-License-Identifier: MIT
#pragma once

#include "sound/alertsound.h"

#include <QString>

#include <functional>

namespace kestrune {

/// Rings for an alert: the chime where it can be played, else the system beep, and one diagnostic line on
/// standard error either way.
class Chime
{
public:
    /// Gives the sound, or nothing when its module cannot be loaded; asked again until it is there.
    using Loader = std::function<AlertSound *()>;

    Chime(Loader loader, std::function<void()> beep, std::function<void(const QString &)> log = writeLine);
    Chime(const Chime &) = delete;
    Chime &operator=(const Chime &) = delete;

    /// Returns at once. This object must outlive the sound's report.
    void ring();

    /// Loads the module `file`; the sound lives as long as the process.
    [[nodiscard]] static AlertSound *loadModule(const QString &file);
    /// One line to standard error.
    static void writeLine(const QString &line);

private:
    void report(AlertSound::Outcome outcome);

    Loader m_loader;
    std::function<void()> m_beep;
    std::function<void(const QString &)> m_log;
    AlertSound *m_sound = nullptr;
};

} // namespace kestrune
