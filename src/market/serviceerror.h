// SPDX-License-Identifier: MIT
#pragma once

#include "platform/httpclient.h"

#include <QString>

#include <chrono>
#include <optional>

#include <tl/expected.hpp>

namespace kestrune {

/// What a source says that will not serve us for a while: asked too often, or not from here.
struct Refusal
{
    int status = 0; ///< 418, 429 or 451
    std::optional<std::chrono::seconds> retryAfter;

    [[nodiscard]] bool operator==(const Refusal &) const = default;
};

/// Absent for any other answer.
[[nodiscard]] inline std::optional<Refusal> refusalIn(const HttpAnswer &answer)
{
    if (answer.status != 418 && answer.status != 429 && answer.status != 451)
        return std::nullopt;
    return Refusal{answer.status, answer.retryAfter};
}

/// A failure that a data service reports once all its sources are exhausted (domain "KestruneBar").
struct ServiceError
{
    /// 1 to 6, listed at the services' functions; 0 for a transfer error, which has no text of its own.
    int code = 0;
    QString message = {};                ///< user-facing
    std::optional<Refusal> refusal = {}; ///< of the last source that gave one

    [[nodiscard]] bool operator==(const ServiceError &) const = default;
};

template <typename T>
using Result = tl::expected<T, ServiceError>;

} // namespace kestrune
