// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
#include <QTimeZone>
#endif

namespace kestrune {

/// UTC, as the version of Qt wants it told: the newer ones deprecate the older way, and 6.4 lacks the newer.
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
inline constexpr auto utcZone = QTimeZone::UTC;
#else
inline constexpr auto utcZone = Qt::UTC;
#endif

} // namespace kestrune
