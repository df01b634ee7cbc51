// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace kestrune {

/// Base addresses without a trailing slash; request texts are made by appending path and query.
struct Endpoints
{
    QString gate, binanceSpot, binanceFutures, okx;
    QString tencentQuotes, tencentCandles, tencentSearch;

    [[nodiscard]] static Endpoints live();
    /// Every market request goes to `base`, whose path (if any) is a prefix.
    [[nodiscard]] static Endpoints via(const QString &base);
};

/// The URL a text spells, without any silent encoding: text that is not printable ASCII without blanks,
/// or that is no http(s) address with a host, gives none.
[[nodiscard]] std::optional<QUrl> requestUrl(const QString &text);

} // namespace kestrune
