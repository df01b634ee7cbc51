#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing and builds the Debian packages into build/package; prints their paths, the program's last.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" dpkg-dev file
cd "$root"
cmake --preset release -B build/package -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_CXX_FLAGS="-fstack-protector-strong -D_FORTIFY_SOURCE=2" \
    -DCMAKE_EXE_LINKER_FLAGS="-Wl,-z,relro,-z,now" -DCMAKE_MODULE_LINKER_FLAGS="-Wl,-z,relro,-z,now" >/dev/null
cmake --build build/package >&2
rm -f build/package/kestrune-bar*.deb
(cd build/package && cpack >&2)
ls "$root"/build/package/kestrune-bar-*.deb
ls "$root"/build/package/kestrune-bar_*.deb
