#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes the documentation's pictures of the panel and of the item in real bars, in docs/ or in the folder given:
# waybar.png where sway, Xwayland, waybar and grim are installed, the others in a session of their own.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

target=$(realpath "${1:-$root/docs}")
install_missing "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}" x11-xserver-utils
cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target kestrune-bar kestrune-replay kestrune-sound >&2
PYTHONDONTWRITEBYTECODE=1 python3 tools/pictures.py "$target" build/release/bin
