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
    bool alertLog = false; ///< print what rang and end
    bool json = false;     ///< that as JSON lines
    bool strip = false;    ///< the status item as a window of its own, whatever the desktop offers
    std::optional<QString> marketServer; ///< base address, checked, without a trailing slash
    std::optional<QString> error;        ///< one line for standard error; the program ends with status 2
};

/// What follows the first argument equal to `option`, wherever that stands and whatever it is; absent without
/// one, or when nothing follows.
[[nodiscard]] std::optional<QString> optionValue(const QStringList &arguments, const QString &option);

/// Reads the arguments after the program's name. What follows an option that takes a value is that value and
/// no switch, as in "--snapshot --demo"; but an option that takes a value counts there too, as in
/// optionValue(). Unknown arguments are ignored.
[[nodiscard]] CommandLine parseCommandLine(const QStringList &arguments);

/// What --help prints.
[[nodiscard]] QString helpText();

} // namespace kestrune
