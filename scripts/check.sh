#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every check of a reviewer: tests, sanitizers, warnings, headers, format, lint, layers, style.
# check.sh [step...] runs the named steps only. One line per step; stops at the first failure and shows its output.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT

all_steps=(style layers format shell cppcheck tests warnings headers clang lint coroutines sanitize threads)
wanted=("${@:-${all_steps[@]}}")
for name in "${wanted[@]}"; do
    if [[ " ${all_steps[*]} " != *" $name "* ]]; then
        echo "usage: check.sh [${all_steps[*]}]" >&2
        exit 2
    fi
done
install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}" "${check_packages[@]}"

units() { git ls-files 'src/*.cpp' 'replay/*.cpp'; }

check_style() { tools/check-style.sh; }
check_layers() { python3 tools/check-layers.py; }
check_format() { git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror; }
check_shell() { shellcheck -x scripts/*.sh tools/*.sh tests/*/*.sh .ci/run; }
check_cppcheck() {
    cppcheck --enable=warning,performance,portability --inline-suppr --suppressions-list=tools/cppcheck.supp \
        --std=c++20 --language=c++ --library=qt -D'Q_OBJECT=' -Isrc -Ireplay -Itests -Ifuzz \
        --quiet --error-exitcode=1 -j"$(nproc)" src replay bench fuzz
}
check_tests() { scripts/test.sh; }
check_warnings() { cmake --preset check && cmake --build --preset check; }
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
        --warnings-as-errors='*' --extra-arg=-Wno-unknown-warning-option \
        --checks="-*,$(IFS=,; echo "${coroutine_checks[*]}")"
}
check_sanitize() { cmake --preset asan && cmake --build --preset asan && ctest --preset asan -j2; }
check_threads() { cmake --preset tsan && cmake --build --preset tsan && ctest --preset tsan; }

for name in "${wanted[@]}"; do
    started=$SECONDS
    if [ "$name" = coroutines ] && ! command -v clang-tidy-19 >/dev/null; then
        printf '%-12s skipped, clang-tidy-19 is not installed\n' "$name"
    elif "check_$name" >"$log" 2>&1; then
        printf '%-12s ok  %4d s\n' "$name" $((SECONDS - started))
    else
        printf '%-12s FAILED\n' "$name"
        tail -n 80 "$log"
        exit 1
    fi
done
