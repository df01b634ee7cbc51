#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The release program on the simulated market in a tray: endurance.sh [minutes, default 20]. One line a minute of
# memory, context switches and CPU; fails when memory grows by more than 1 MiB after the first two minutes, when the
# program says anything on standard error, or when it ends.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

minutes=${1:-20}
if ! [[ $minutes =~ ^[0-9]+$ ]] || [ "$minutes" -lt 3 ]; then
    echo "Usage: endurance.sh [minutes, at least 3]" >&2
    exit 2
fi
install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target kestrune-bar kestrune-replay kestrune-sound >&2
PYTHONDONTWRITEBYTECODE=1 python3 tests/session/endurance.py "$minutes" build/release/bin
