#!/bin/bash
# SPDX-License-Identifier: MIT
# Walks the panel over the accessibility bus, on a display and a session bus of its own: atspi.sh PROGRAM
for tool in Xvfb xvfb-run dbus-run-session; do
    command -v "$tool" > /dev/null || { echo "skipped: $tool is missing"; exit 77; }
done
[ -x /usr/libexec/at-spi-bus-launcher ] || { echo "skipped: at-spi2-core is missing"; exit 77; }
here=$(dirname "$(readlink -f "$0")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
export QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 XDG_RUNTIME_DIR="$folder" HOME="$folder"
exec_walk() { timeout 100 xvfb-run -a -s "-screen 0 1280x1000x24" dbus-run-session -- /usr/bin/python3 "$here/atspi.py" "$1"; }
exec_walk "$1"
