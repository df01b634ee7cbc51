#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Plays every fault of the network at every endpoint to the real program, alone and in pairs along the fallback
# chains, and every fault at all sources of a datum at once to the application state. Some five minutes.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
cd "$root"
cmake --preset dev >/dev/null
cmake --build --preset dev --target tst_faults
export KESTRUNE_FAULTS=all TZ=UTC LC_ALL=C.UTF-8 QTEST_DISABLE_STACK_DUMP=1 QTEST_FUNCTION_TIMEOUT=3600000
nice build/dev/bin/tst_faults
