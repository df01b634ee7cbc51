// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <memory>

namespace kestrune {

struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};

/// An answer of the X server; null when there was none or an error.
template <typename T>
using XcbReply = std::unique_ptr<T, FreeReply>;

} // namespace kestrune
