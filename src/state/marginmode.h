// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <array>
#include <optional>

namespace kestrune {

enum class MarginMode { isolated, cross };
inline constexpr std::array allMarginModes{MarginMode::isolated, MarginMode::cross};

/// Display text and stored form: "逐仓", "全仓".
[[nodiscard]] QString rawValue(MarginMode mode);
[[nodiscard]] std::optional<MarginMode> marginModeFromRawValue(QStringView text);

} // namespace kestrune
