// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kestrune {

struct BarRecord;

/// What a bar reads.
enum class LineFormat { waybar, i3bar, polybar, xfce, argos, tmux, plain, json };

[[nodiscard]] std::optional<LineFormat> lineFormat(QStringView name);
/// "waybar, i3bar, …", for messages.
[[nodiscard]] QString lineFormatNames();

/// The record as the bar wants it, in UTF-8, with the line's end and no other one inside: what the bar would
/// take for markup is escaped.
[[nodiscard]] QByteArray formatLine(const BarRecord &record, LineFormat format);
/// What a run of lines begins with, and each of its lines after the first one; both mostly empty.
[[nodiscard]] QByteArray linesBegin(LineFormat format);
[[nodiscard]] QByteArray betweenLines(LineFormat format);

} // namespace kestrune
