#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, builds a release and starts the program with the given arguments.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

[ -z "${WAYLAND_DISPLAY:-}" ] || run_packages+=(qt6-wayland) # for sessions without XWayland
install_missing "${build_packages[@]}" "${run_packages[@]}"
arguments=("$@")
demo=false
headless=false
previous=
for argument in "$@"; do
    case $previous in
        --snapshot | --chart | --watch | --print) headless=true ;; # with its value, whatever that is
        --symbol | --market | --timeframe | --market-server | --size) ;;
        *) case $argument in --demo) demo=true ;; --help | --version | --alert-log) headless=true ;; esac ;;
    esac
    previous=$argument
done

# Configured and built on standard error: standard output belongs to the program.
(cd "$root" && cmake --preset release >/dev/null)
build=("$root/build/release" --target kestrune-bar kestrune-sound)
$demo && build+=(kestrune-replay)
build+=(--)
if ! cmake --build "${build[@]}" -n | grep -q 'no work to do'; then
    quiet=--quiet
    if [ -t 2 ]; then
        echo "Building Kestrune Bar: about a minute the first time, several on a slow machine." >&2
        quiet=
    fi
    cmake --build "${build[@]}" $quiet >&2
fi

if $demo && ! $headless && [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    # Nothing to show a bar on: leave a picture of the demo market behind instead.
    arguments+=(--snapshot snapshot)
    "$root/build/release/bin/kestrune-bar" "${arguments[@]}"
    echo "Snapshot of the demo market written to $PWD/snapshot"
    exit 0
fi
exec "$root/build/release/bin/kestrune-bar" ${arguments[@]+"${arguments[@]}"}
