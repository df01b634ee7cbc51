#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, builds everything and runs every test.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
cd "$root"
cmake --preset dev >/dev/null
cmake --build --preset dev
ctest --preset dev -j2 "$@"
