// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>
#include <QStringView>

#include <optional>

namespace kestrune {

inline constexpr QSize usualChartSize{720, 460};
inline constexpr QSize leastChartSize{360, 260};
/// Reads "720x460"; absent for anything else and for what is smaller than the least or beyond 4096.
[[nodiscard]] std::optional<QSize> chartSizeFrom(QStringView text);

} // namespace kestrune
