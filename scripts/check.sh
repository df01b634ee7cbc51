#!/usr/bin/env bash
# Every check of a reviewer: tests, sanitizers, warnings, headers, format, lint, layers, style.
# One line per step; stops at the first failure and shows its output.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}" "${check_packages[@]}"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT

step() {
    local name=$1
    shift
    local started=$SECONDS
    if "$@" >"$log" 2>&1; then
        printf '%-34s ok  %4d s\n' "$name" $((SECONDS - started))
    else
        printf '%-34s FAILED\n' "$name"
        tail -n 80 "$log"
        exit 1
    fi
}
sources() { git ls-files '*.cpp' '*.h'; }
format() { sources | xargs clang-format --dry-run --Werror; }
lint() {
    cmake --preset check >/dev/null
    git ls-files 'src/*.cpp' 'replay/*.cpp' | xargs -P2 -n4 clang-tidy --quiet -p build/check
}
warnings() { cmake --preset check && cmake --build --preset check; }
headers() { cmake --build build/check --target all_verify_interface_header_sets; }
sanitize() { cmake --preset asan && cmake --build --preset asan && ctest --preset asan -j2; }

step 'style' tools/check-style.sh
step 'layers' python3 tools/check-layers.py
step 'format' format
step 'shell scripts' shellcheck -x scripts/*.sh tools/*.sh .ci/run
step 'tests' scripts/test.sh
step 'warnings are errors' warnings
step 'headers stand alone' headers
step 'lint' lint
step 'address and undefined behaviour' sanitize
