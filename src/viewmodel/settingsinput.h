// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace kestrune {

// What the panel's number fields accept, and how they spell what is set. Blanks around a number do no harm.

/// A finite decimal number with a point; absent for everything else, "inf" and "nan" included.
[[nodiscard]] std::optional<double> parseDecimal(const QString &text);
/// A base-10 integer.
[[nodiscard]] std::optional<qint64> parseWhole(const QString &text);

inline constexpr double thresholdStep = 0.5; ///< percent
inline constexpr double rangeStep = 1;       ///< percent
inline constexpr int perSideStep = 1;

[[nodiscard]] double clampThreshold(double percent); ///< 0.5 to 20
[[nodiscard]] double clampRange(double percent);     ///< 2 to 30
[[nodiscard]] int clampPerSide(qint64 count);        ///< 1 to 10

[[nodiscard]] QString thresholdFieldText(double percent); ///< "%.1f"
[[nodiscard]] QString rangeFieldText(double percent);     ///< "%.0f"
[[nodiscard]] QString perSideFieldText(int count);
[[nodiscard]] QString riskFieldText(double percent);      ///< "%.1f"
[[nodiscard]] QString leverageFieldText(double leverage); ///< "%.0f"
[[nodiscard]] QString accountFieldText(double account);   ///< "%.0f", empty for 0: the placeholder shows

/// Risk per trade in percent: above 0, without an upper limit; absent when rejected.
[[nodiscard]] std::optional<double> acceptedRisk(const QString &text);
/// Leverage from 1 on, at most 125; absent when rejected.
[[nodiscard]] std::optional<double> acceptedLeverage(const QString &text);
/// Account size with "," anywhere; whatever is no number counts as 0, not set.
[[nodiscard]] double accountFromText(const QString &text);
/// Target of a manual alert: above 0; absent when rejected.
[[nodiscard]] std::optional<double> acceptedAlertPrice(const QString &text);

} // namespace kestrune
