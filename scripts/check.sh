#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every check. check.sh [STEP...] runs the named steps only, check.sh quick those that end within a
# minute and build nothing. One line per step; stops at the first failure and shows its output.
#   style layers share format       the sources as text; layers also looks at the names of folders
#   shell cppcheck lint coroutines  what the checkers of the languages say
#   tests                           the daily build, in unity batches, and all tests
#   release                         the program as users build it, in large batches across folders, and the benchmarks
#   ordinary                        the other way of building, file by file with warnings as errors, and all tests
#   headers clang                   every header alone; everything with clang
#   sanitize threads fuzz           all tests under the sanitizers; two seconds of each fuzz target
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT

quick_steps=(style layers share format)
all_steps=("${quick_steps[@]}" shell cppcheck tests release ordinary headers clang lint coroutines sanitize threads fuzz)
wanted=("${@:-${all_steps[@]}}")
[ "$*" = quick ] && wanted=("${quick_steps[@]}")
for name in "${wanted[@]}"; do
    if [[ " ${all_steps[*]} " != *" $name "* ]]; then
        echo "usage: check.sh [quick | ${all_steps[*]}]" >&2
        exit 2
    fi
done
if [[ " ${quick_steps[*]} " == *" ${wanted[*]} "* ]]; then
    install_missing "${quick_packages[@]}"
else
    install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}" "${bench_packages[@]}" "${check_packages[@]}"
fi

units() { git ls-files 'src/*.cpp' 'replay/*.cpp'; }

check_style() { tools/check-style.sh; }
check_layers() { python3 tools/check-layers.py; }
check_share() { tools/check-share.sh; }
check_format() { git ls-files '*.cpp' '*.h' | xargs -P"$(nproc)" -n40 clang-format --dry-run --Werror; }
check_shell() { git ls-files '*.sh' .ci/run .githooks | xargs shellcheck -x; }
check_cppcheck() {
    cppcheck --enable=warning,performance,portability --inline-suppr --suppressions-list=tools/cppcheck.supp \
        --std=c++20 --language=c++ --library=qt -D'Q_OBJECT=' -Isrc -Ireplay -Itests -Ifuzz \
        --quiet --error-exitcode=1 -j"$(nproc)" src replay bench fuzz
}
check_tests() { scripts/test.sh; }
check_release() { cmake --preset bench && cmake --build --preset bench && build/bench/bin/kestrune-bar --version; }
check_ordinary() { cmake --preset check && cmake --build --preset check && ctest --preset check -j2; }
check_headers() { cmake --preset check && cmake --build build/check --target all_verify_interface_header_sets; }
check_clang() { cmake --preset check-clang && cmake --build --preset check-clang; }
check_lint() {
    cmake --preset check >/dev/null
    # Without the counts of what it found in others' headers, which would hide the findings.
    units | xargs -P"$(nproc)" -n4 clang-tidy --quiet -p build/check 2>&1 | { grep -v ' warnings\? generated\.$' || true; }
}
# Two checks that clang-tidy 14 does not know.
coroutine_checks=(cppcoreguidelines-avoid-capturing-lambda-coroutines
    cppcoreguidelines-avoid-reference-coroutine-parameters)
check_coroutines() {
    cmake --preset check >/dev/null
    units | xargs grep -lE 'co_await|co_return' | xargs -P"$(nproc)" -n4 clang-tidy-19 --quiet -p build/check \
        --warnings-as-errors='*' --extra-arg=-Wno-unknown-warning-option --extra-arg=-Wno-deprecated-declarations \
        --checks="-*,$(IFS=,; echo "${coroutine_checks[*]}")"
}
check_sanitize() { cmake --preset asan && cmake --build --preset asan && ctest --preset asan -j2; }
check_fuzz() { scripts/fuzz.sh --short || [ $? -eq 77 ]; } # 77: no fuzzer here
check_threads() { cmake --preset tsan && cmake --build --preset tsan && ctest --preset tsan; }

for name in "${wanted[@]}"; do
    started=$SECONDS
    if [ "$name" = coroutines ] && ! command -v clang-tidy-19 >/dev/null; then
        printf '%-12s skipped, clang-tidy-19 is not installed\n' "$name"
    elif "check_$name" >"$log" 2>&1; then
        printf '%-12s ok  %4d s  %s\n' "$name" $((SECONDS - started)) "$([ "$name" != share ] || cat "$log")"
    else
        printf '%-12s FAILED\n' "$name"
        tail -n 80 "$log"
        exit 1
    fi
done
