// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUuid>

#include <optional>

namespace kestrune {

enum class SignalType { strongBull, bull, neutral, bear, strongBear };

/// Band of a score: lower bounds belong to it, so -2.0 is still `bear` while +2.0 is `strongBull`; NaN is
/// `strongBear`.
[[nodiscard]] SignalType signalTypeForScore(double score);
/// "强多", "偏多", "中性", "偏空", "强空".
[[nodiscard]] QString rawValue(SignalType signal);
[[nodiscard]] std::optional<SignalType> signalTypeFromRawValue(QStringView text);
[[nodiscard]] bool isBull(SignalType signal);
[[nodiscard]] bool isBear(SignalType signal);

/// The signal of one timeframe.
struct TimeframeSignal
{
    TimeframeSignal(QString labelText, double total, SignalType band, QString phrase);

    QUuid id; ///< fresh for every record
    QString label;
    double score; ///< -5 to +5
    SignalType signal;
    QString reason; ///< one short phrase
};

} // namespace kestrune
