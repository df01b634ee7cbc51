// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <limits>
#include <optional>

namespace kestrune {

/// What a number field of the panel accepts, and how it spells what is set. Accepted are finite decimal
/// numbers with a point (neither "inf" nor "nan"); blanks around a number do no harm.
struct NumberField
{
    /// What a submitted text does.
    struct Answer
    {
        std::optional<double> value; ///< to be set; absent when the text is refused
        QString note;                ///< says what holds instead of the text; empty when the text itself does
    };

    double lowest = -std::numeric_limits<double>::max(); ///< what lies below is raised to it
    double highest = std::numeric_limits<double>::max(); ///< what lies above is lowered to it
    double refusedBelow = -std::numeric_limits<double>::max();
    double step = 0;      ///< of the buttons beside the field
    int decimals = 0;     ///< that it spells
    bool whole = false;   ///< takes base-10 integers only
    bool amount = false;  ///< takes "," anywhere; nothing is spelled, and whatever is no number counts, as 0
    bool grouped = false; ///< takes digits in groups of three, full-width signs and "。" for the point too
    QLatin1StringView unit = {}; ///< of its limits, where they are said

    /// What a submitted text sets; absent when it is refused.
    [[nodiscard]] std::optional<double> accepted(const QString &text) const;
    /// The same with what is to be said about it, while `current` is set.
    [[nodiscard]] Answer answer(const QString &text, double current) const;
    [[nodiscard]] double limited(double value) const;
    [[nodiscard]] QString spelled(double value) const;

private:
    [[nodiscard]] std::optional<double> numberIn(QString text) const;
};

namespace fields {

inline constexpr double aboveZero = std::numeric_limits<double>::denorm_min();

inline constexpr NumberField threshold{
    .lowest = 0.5, .highest = 20, .step = 0.5, .decimals = 1, .unit = QLatin1StringView("%")};
inline constexpr NumberField range{.lowest = 2, .highest = 30, .step = 1, .unit = QLatin1StringView("%")};
inline constexpr NumberField perSide{.lowest = 1, .highest = 10, .step = 1, .whole = true};
inline constexpr NumberField risk{.refusedBelow = aboveZero, .decimals = 1}; ///< percent
inline constexpr NumberField leverage{.highest = 125, .refusedBelow = 1, .unit = QLatin1StringView("x")};
inline constexpr NumberField account{.amount = true};
inline constexpr NumberField alertPrice{.refusedBelow = aboveZero, .grouped = true};

} // namespace fields

} // namespace kestrune
