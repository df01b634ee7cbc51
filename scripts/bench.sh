#!/usr/bin/env bash
# Builds a release and runs the benchmarks; medians of seven runs. Arguments go to Google Benchmark.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${run_packages[@]}" "${bench_packages[@]}"
cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release >&2
QT_QPA_PLATFORM=offscreen build/release/bin/kestrune-bench --benchmark_repetitions=7 \
    --benchmark_report_aggregates_only=true "$@" | grep -Ev '_(mean|stddev|cv)[[:space:]]'
