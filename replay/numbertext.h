// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>

namespace kestrune::replay {

/// "%.<decimals>f", never "-0.00".
[[nodiscard]] QByteArray fixedText(double value, int decimals);
/// The same without trailing zeros and a bare point: 67715.10 with 4 gives "67715.1", 67715 "67715".
[[nodiscard]] QByteArray trimmedText(double value, int decimals);
/// How many decimals, between `least` and `most`, spell the value exactly (to the `most`-th place).
[[nodiscard]] int neededDecimals(double value, int least, int most);
/// A JSON string of ASCII text: quoted; other letters as \uXXXX, "/" escaped too, as the stock source does.
[[nodiscard]] QByteArray escapedJson(const QString &text);
/// A JSON array of entries that are JSON already.
[[nodiscard]] QByteArray jsonArray(const QByteArrayList &entries);

} // namespace kestrune::replay
