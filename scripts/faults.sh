#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Plays every fault of the network at every endpoint to the real program, alone and in pairs along the fallback
# chains. Some five minutes.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
cd "$root"
cmake --preset dev >/dev/null
cmake --build --preset dev --target kestrune-bar kestrune-replay
export KESTRUNE_BIN_DIR=$root/build/dev/bin PYTHONPATH=$root/tests/replay PYTHONDONTWRITEBYTECODE=1
TZ=UTC LC_ALL=C.UTF-8 nice python3 tests/faults/tst_faults.py all
