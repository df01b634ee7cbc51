// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <tl/expected.hpp>

namespace kestrune {

/// A failure that a data service reports once all its sources are exhausted (domain "KestruneBar").
struct ServiceError
{
    /// 1 to 5, listed at the services' functions; 0 for a transfer error, which has no text of its own.
    int code = 0;
    QString message; ///< user-facing

    [[nodiscard]] bool operator==(const ServiceError &) const = default;
};

template <typename T>
using Result = tl::expected<T, ServiceError>;

} // namespace kestrune
