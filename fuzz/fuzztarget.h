// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstdio>
#include <cstdlib>
#include <span>

namespace kestrune::fuzz {

/// One kind of outside bytes and what must hold for them whatever they are.
struct Target
{
    const char *name;
    void (*run)(const QByteArray &bytes);
};

// One list per source file; fuzzmain.cpp joins them.
[[nodiscard]] std::span<const Target> marketTargets();
[[nodiscard]] std::span<const Target> settingsTargets();
[[nodiscard]] std::span<const Target> analysisTargets();

} // namespace kestrune::fuzz

/// A broken promise ends the run like a crash, with the input kept.
#define KESTRUNE_REQUIRE(condition)                                                                          \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);              \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
