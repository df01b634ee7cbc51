// SPDX-License-Identifier: MIT
#include "analysis/allocationcounter.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<std::size_t> allocations{0};

} // namespace

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define KESTRUNE_COUNTS_ALLOCATIONS

// glibc lets a program bring its own malloc; these hand on to the one underneath. Counting here, and not in
// operator new, sees Qt's containers too.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);

void *malloc(std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void *realloc(void *block, std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}
}
#endif

namespace kestrune::test {

bool countsAllocations()
{
#ifdef KESTRUNE_COUNTS_ALLOCATIONS
    return true;
#else
    return false;
#endif
}

std::size_t allocationCount()
{
    return allocations.load(std::memory_order_relaxed);
}

} // namespace kestrune::test
