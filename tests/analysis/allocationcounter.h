// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace kestrune::test {

/// Whether this build can count: the sanitizers bring an allocator of their own.
[[nodiscard]] bool countsAllocations();

/// Heap blocks asked for by this program so far, through malloc, calloc, realloc or operator new.
[[nodiscard]] std::size_t allocationCount();

} // namespace kestrune::test
