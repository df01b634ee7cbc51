// SPDX-License-Identifier: MIT
#include "fuzztarget.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using namespace kestrune::fuzz;

std::vector<Target> allTargets()
{
    std::vector<Target> targets;
    for (const auto list : {marketTargets(), settingsTargets(), analysisTargets()})
        targets.insert(targets.end(), list.begin(), list.end());
    return targets;
}

const Target *chosen()
{
    static const std::vector<Target> targets = allTargets();
    static const Target *const target = [] {
        const char *const name = std::getenv("KESTRUNE_FUZZ_TARGET");
        for (const Target &candidate : targets) {
            if (name && std::strcmp(candidate.name, name) == 0)
                return &candidate;
        }
        return static_cast<const Target *>(nullptr);
    }();
    return target;
}

} // namespace

/// "--targets" prints the names; a run takes its target from the environment.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    if (*argc == 2 && std::strcmp((*argv)[1], "--targets") == 0) {
        for (const Target &target : allTargets())
            std::puts(target.name);
        std::exit(0);
    }
    if (!chosen()) {
        std::fputs("KESTRUNE_FUZZ_TARGET names no target; --targets lists them\n", stderr);
        std::exit(2);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    chosen()->run({reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)});
    return 0;
}
