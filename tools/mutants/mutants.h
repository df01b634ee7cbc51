// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>

/// Whether fault `number` is the one that the environment asks for.
inline bool mutant(int number)
{
    static const int active = [] {
        const char *value = std::getenv("MUTANT");
        return value ? std::atoi(value) : 0;
    }();
    return active == number;
}
