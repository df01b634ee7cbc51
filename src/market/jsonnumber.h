// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>

#include <optional>
#include <span>
#include <string_view>

namespace simdjson::dom {
class element;
}

namespace kestrune {

/// The number that the whole text spells as a decimal floating-point literal, with "." whatever the locale.
/// A leading "+", "inf", "infinity" and "nan" in any case are accepted; beyond the range of a double the
/// result is an infinity or 0. Empty text, blanks, hexadecimal or any stray character give none.
[[nodiscard]] std::optional<double> decimalNumber(std::string_view text);

/// A JSON number, or a JSON text that spells one as decimalNumber() reads it; none for any other value.
[[nodiscard]] std::optional<double> num(const simdjson::dom::element &value);
/// As num(), but finite numbers only.
[[nodiscard]] std::optional<double> anyNum(const simdjson::dom::element &value);
/// The finite number that the field at `index` spells; none where there is no such field.
[[nodiscard]] std::optional<double> field(std::span<const QStringView> fields, std::size_t index);

} // namespace kestrune
