#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# kill -9 at random moments while settings and alerts change: kill.sh [rounds, default 500]. Also full and
# read-only disks, as root.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
cd "$root"
cmake --preset dev >/dev/null
cmake --build --preset dev --target tst_platform
export KESTRUNE_KILL_ROUNDS=${1:-500} TZ=UTC LC_ALL=C.UTF-8 QTEST_DISABLE_STACK_DUMP=1 QTEST_FUNCTION_TIMEOUT=3600000
nice build/dev/bin/tst_platform --class PreferencesTest
