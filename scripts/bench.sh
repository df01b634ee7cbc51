#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds a release with the benchmarks and measures it against its limits, in one table; ends with 1 when a figure is
# over its limit. Limits are ratios to yardsticks of the same run, so that they hold on slow and on loaded machines.
# bench.sh [--quick] [--markdown] [PATTERN]: --quick leaves out what is watched for a minute, PATTERN chooses figures
# by name.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${run_packages[@]}" "${bench_packages[@]}"
cd "$root"
cmake --preset bench >/dev/null
cmake --build --preset bench >&2
options=()
while [ $# -gt 0 ] && [ "${1#--}" != "$1" ]; do
    options+=("$1")
    shift
done
PYTHONDONTWRITEBYTECODE=1 exec python3 bench/bench.py "${options[@]}" build/bench/bin "$@"
