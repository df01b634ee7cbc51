// SPDX-License-Identifier: MIT
#include "fuzztarget.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace kestrune::fuzz;

static Target chosen = nullptr;

/// "--targets" prints the names; a run takes its target from the environment.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    if (*argc == 2 && std::strcmp((*argv)[1], "--targets") == 0) {
        for (const auto &[name, target] : targets())
            std::puts(name.c_str());
        std::exit(0);
    }
    const char *const name = std::getenv("KESTRUNE_FUZZ_TARGET");
    const auto found = targets().find(name ? name : "");
    if (found == targets().end()) {
        std::fputs("KESTRUNE_FUZZ_TARGET names no target; --targets lists them\n", stderr);
        std::exit(2);
    }
    chosen = found->second;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    chosen({reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)});
    return 0;
}
