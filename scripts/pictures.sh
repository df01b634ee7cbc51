#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes the pictures of the item in real bars for the documentation, in docs/ or in the folder given: tray.png,
# menu.png, opened.png, strip.png and alerts.png in a session of their own, waybar.png where sway, waybar and grim are installed.
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
