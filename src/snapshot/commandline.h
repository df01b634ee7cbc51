// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace kestrune {

/// What the command line asks for besides the snapshot options, which SnapshotMode::parse reads.
struct CommandLine
{
    bool help = false;
    bool version = false;
    bool demo = false;
    bool strip = false; ///< the status item as a window of its own, whatever the desktop offers
    std::optional<QString> marketServer; ///< base address, checked, without a trailing slash
    std::optional<QString> error;        ///< one line for standard error; the program ends with status 2
};

/// Reads the arguments after the program's name. An option in the value place of another is that value;
/// unknown arguments are ignored.
[[nodiscard]] CommandLine parseCommandLine(const QStringList &arguments);

/// What --help prints.
[[nodiscard]] QString helpText();

} // namespace kestrune
