// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace kestrune {

class AppState;

/// What the command line selects, verbatim and unchecked.
struct Selection
{
    std::optional<QString> symbol;    ///< instrument code
    std::optional<QString> market;    ///< segment raw value
    std::optional<QString> timeframe; ///< timeframe label

    /// The first occurrence of each option counts, wherever it stands.
    [[nodiscard]] static Selection parse(const QStringList &arguments);
    /// Selects it; a segment that is unknown and a timeframe that the segment does not offer change nothing.
    void apply(AppState &state) const;

    [[nodiscard]] bool operator==(const Selection &) const = default;
};

} // namespace kestrune
