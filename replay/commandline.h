// SPDX-License-Identifier: MIT
#pragma once

#include "replay/faults.h"

#include <QStringList>

#include <chrono>
#include <variant>

namespace kestrune::replay {

struct Options
{
    bool help = false;
    bool version = false;
    quint16 port = 0;
    QString history;     ///< empty without recorded candles
    QString certificate; ///< empty without TLS
    QString key;
    quint64 seed = 1;
    std::optional<qint64> clock; ///< milliseconds since the epoch
    std::optional<double> speed; ///< market seconds per real second
    std::chrono::milliseconds latency{0};
    bool exitWithStdin = false;
    Faults faults{};
};

/// What the arguments (without the program's name) ask for, or the line that says what is wrong with them.
[[nodiscard]] std::variant<Options, QString> parseCommandLine(const QStringList &arguments);

/// The text of --help.
[[nodiscard]] const char *helpText();

} // namespace kestrune::replay
