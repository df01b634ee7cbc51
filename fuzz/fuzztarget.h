// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace kestrune::fuzz {

/// What must hold for one kind of outside bytes, whatever they are.
using Target = void (*)(const QByteArray &bytes);

/// All targets by name.
inline std::map<std::string, Target> &targets()
{
    static std::map<std::string, Target> all;
    return all;
}

struct Registration
{
    Registration(const char *name, Target target) { targets()[name] = target; }
};

} // namespace kestrune::fuzz

/// A broken promise ends the run like a crash, with the input kept.
#define KESTRUNE_REQUIRE(condition)                                                                          \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);              \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
