#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fuzzes every parser of outside bytes and the analysis: fuzz.sh [seconds per target, default 600 | --short] [target...].
# Prints one line per target; ends with 1 when something was found, with 77 where clang is not installed.
# KESTRUNE_FUZZ_JOBS sets how many targets run at once (default: one per core).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# The short form takes some 20 seconds of two cores.
seconds=${1:-600}
[ "$seconds" = --short ] && seconds=2
shift || true
case $seconds in
'' | *[!0-9]*)
    echo "usage: fuzz.sh [seconds per target | --short] [target...]" >&2
    exit 2
    ;;
esac
if ! command -v clang++ >/dev/null || ! echo 'extern "C" int LLVMFuzzerTestOneInput(const char *, unsigned long) { return 0; }' |
    clang++ -x c++ -fsanitize=fuzzer,address - -o /dev/null 2>/dev/null; then
    echo "fuzz: skipped, no clang with libFuzzer here"
    exit 77
fi
jobs=${KESTRUNE_FUZZ_JOBS:-$(nproc)}

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz >build/fuzz/build.log 2>&1 || { tail -n 40 build/fuzz/build.log; exit 1; }
python3 fuzz/make-seeds.py build/fuzz/seeds
scratch=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")")
trap 'rm -rf "$scratch"' EXIT

fuzz_one() {
    local target=$1 log=build/fuzz/logs/$1.log
    mkdir -p "build/fuzz/corpus/$target" "build/fuzz/findings/$target" build/fuzz/logs
    local longest=65536
    case $target in *-tickers | setting-inputs | command-line) longest=4096 ;; analysis) longest=8192 ;; esac
    local status=0
    KESTRUNE_FUZZ_TARGET=$target TMPDIR=$scratch LC_ALL=C.UTF-8 TZ=UTC \
        UBSAN_OPTIONS=print_stacktrace=1 ASAN_OPTIONS=allocator_may_return_null=1 \
        timeout $((seconds + 120)) build/fuzz/bin/kestrune-fuzz "build/fuzz/corpus/$target" "build/fuzz/seeds/$target" \
        -max_total_time="$seconds" -max_len=$longest -timeout=10 -rss_limit_mb=1024 -dict=fuzz/json.dict \
        -artifact_prefix="build/fuzz/findings/$target/" -print_final_stats=1 -verbosity=1 >"$log" 2>&1 || status=$?
    local runs coverage verdict=ok
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 || true)
    if [ $status -ne 0 ]; then
        verdict="FOUND ($(grep -m1 -E 'does not hold|runtime error|ERROR: ' "$log" || echo "status $status")), see $log"
    fi
    printf '%-16s %9s executions  %-10s %s\n' "$target" "${runs:-0}" "$coverage" "$verdict"
    return $status
}
export -f fuzz_one
export seconds scratch

targets=("$@")
[ $# -gt 0 ] || mapfile -t targets < <(build/fuzz/bin/kestrune-fuzz --targets)
if printf '%s\n' "${targets[@]}" | xargs -P "$jobs" -I{} nice bash -c 'fuzz_one {} || exit 1'; then
    echo "fuzz: nothing found"
else
    echo "fuzz: findings above"
    exit 1
fi
