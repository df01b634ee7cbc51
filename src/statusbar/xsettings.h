// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <optional>

namespace kestrune {

/// The text called `name` in the block that an X11 settings daemon publishes; nothing when it is not there or
/// the block is damaged before it.
[[nodiscard]] std::optional<QByteArray> settingsText(const QByteArray &block, const QByteArray &name);

/// Whether a desktop theme of this name has dark windows: theirs say so in a word of the name.
[[nodiscard]] bool isDarkTheme(const QByteArray &name);

} // namespace kestrune
