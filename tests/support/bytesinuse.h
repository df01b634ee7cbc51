// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <malloc.h>

#include <cstddef>

// Under a sanitizer the C library's own figures stay zero.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace kestrune::test {

/// What the program holds on the heap now, give or take what the C library keeps for the next request.
[[nodiscard]] inline qint64 bytesInUse()
{
    if (__sanitizer_get_current_allocated_bytes)
        return static_cast<qint64>(__sanitizer_get_current_allocated_bytes());
    const auto heap = mallinfo2();
    return static_cast<qint64>(heap.uordblks + heap.hblkhd);
}

} // namespace kestrune::test
