#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Days on the clock of the test programs: soak.sh [simulated hours, default 24]. A market over loopback; first the
# application state alone, to the byte, then the whole bar with its panel on a bus of its own. Selections, neon mode,
# stocks, outages, suspends, alerts and restarts of the bar's host in turn; memory, counts and periods must stay.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

install_missing "${build_packages[@]}" "${test_packages[@]}"
cd "$root"
cmake --preset dev >/dev/null
cmake --build --preset dev --target tst_soak tst_appstate
export KESTRUNE_SOAK_HOURS=${1:-24} TZ=UTC LC_ALL=C.UTF-8 QTEST_DISABLE_STACK_DUMP=1 QTEST_FUNCTION_TIMEOUT=3600000
export QT_QPA_PLATFORM=offscreen
export GLIBC_TUNABLES=glibc.malloc.tcache_count=0 # its content would count as used memory
KESTRUNE_ALERT_DAYS=$KESTRUNE_SOAK_HOURS nice build/dev/bin/tst_appstate --class AlertDayTest
nice build/dev/bin/tst_soak
