#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian package, looks at it with lintian, installs it into a fresh Debian made by mmdebstrap and runs it
# there: a snapshot without a display, and the bar on a virtual one. For another suite than this machine's the package
# is built inside that suite, from what is committed, after all tests have run there; a warning of its compiler is a
# failure. Needs root and the package archive.
# try-package.sh [SUITE (bookworm)] [folder for the pictures]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
suite=${1:-bookworm}
pictures=${2:-$root/build/package-pictures}
if [ "$(id -u)" -ne 0 ]; then
    echo "try-package: only root can make a Debian of its own" >&2
    exit 1
fi
install_missing git mmdebstrap lintian xvfb x11-utils imagemagick
mkdir -p "$pictures"
pictures=$(cd "$pictures" && pwd)
scratch=$(mktemp -d -p "${TMPDIR:-/var/tmp}")
system=
home=/srv/try # in that Debian
server=
bar=
finish() {
    for process in $bar $server; do
        kill "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    umount -q "$scratch"/*/proc 2>/dev/null || true
    mountpoint -q "$system/proc" || rm -rf "$scratch"
}
trap finish EXIT
apart=() # what keeps the next processes inside apart from others
inside() {
    "${apart[@]}" chroot "$system" /usr/bin/env -i PATH=/usr/bin:/usr/sbin:/bin:/sbin HOME=$home LANG=C.UTF-8 \
        XDG_RUNTIME_DIR=$home/run DEBIAN_FRONTEND=noninteractive "$@"
}
say() { printf '%-44s %s\n' "$1" "$2"; }
logged() { # LOG COMMAND...: shows the end of the log where the command fails
    local log=$scratch/$1
    "${@:2}" >"$log" 2>&1 || { tail -n 60 "$log"; exit 1; }
}

own=$(. /etc/os-release && echo "$VERSION_CODENAME")
apt-config dump | grep '^Acquire::' >"$scratch/apt.conf" || true
sources=()
for file in /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources; do
    [ -s "$file" ] || continue
    sources=("$scratch/${file##*/}")
    sed "s/\b$own\b/$suite/g" "$file" >"${sources[0]}"
done
# A Debian of the suite, from the same archive and by the same way to it as this machine's.
make_system() { # NAME
    system=$scratch/$1
    logged "$1.log" mmdebstrap --quiet --variant=apt --aptopt="$scratch/apt.conf" "$suite" "$system" "${sources[@]}"
    mount -t proc proc "$system/proc"
    for file in /etc/resolv.conf /etc/hosts; do
        [ ! -e "$file" ] || cp "$file" "$system/etc/"
    done
    inside apt-get update -qq
    inside mkdir -p "$home"
    inside mkdir -m 700 "$home/run"
}

if [ "$suite" = "$own" ]; then
    logged build.log "$root/scripts/package.sh"
    package=$(tail -n 1 "$scratch/build.log")
else
    make_system workshop
    git clone -q "$root" "$system$home/kestrune-bar"
    inside apt-get install -qq -y --no-install-recommends git >/dev/null 2>&1
    apart=(unshare --pid --fork --kill-child "--mount-proc=$system/proc") # nothing of the tests outlives them
    logged tests.log inside bash -c "$home/kestrune-bar/scripts/test.sh; exit \$?"
    apart=()
    say "tests in $suite" "$(grep 'tests passed' "$scratch/tests.log")"
    logged build.log inside "$home/kestrune-bar/scripts/package.sh"
    if grep -E '(:[0-9]+|ld): warning:' "$scratch/tests.log" "$scratch/build.log"; then
        exit 1
    fi
    say "compilers in $suite" "no warning"
    package=$system$(tail -n 1 "$scratch/build.log")
    mkdir -p "$root/build/package"
    cp "${package%/*}"/kestrune-bar*.deb "$root/build/package/"
fi
logged lintian.log lintian --fail-on error "${package%/*}"/kestrune-bar*.deb
say "lintian" "no error, $(grep -c '^W:' "$scratch/lintian.log" || true) warnings"

make_system debian
cp "$package" "$system$home/kestrune-bar.deb"
logged install.log inside apt-get install -qq -y --no-install-recommends "$home/kestrune-bar.deb"
say "installed in a fresh Debian $(cat "$system/etc/debian_version")" "$(inside kestrune-bar --version)"

inside kestrune-bar --demo --snapshot "$home/out" --symbol BTC --timeframe 4H >"$scratch/words" 2>&1
[ ! -s "$scratch/words" ] || { echo "the snapshot run said:"; cat "$scratch/words"; exit 1; }
grep -q '"resistance"' "$system$home/out/data.json"
cp "$system$home/out/popover.png" "$pictures/$suite-snapshot.png"
say "snapshot without a display" "$(identify -format '%wx%h' "$pictures/$suite-snapshot.png")"

# A display of this machine; programs inside reach it by its abstract socket.
mkfifo "$scratch/display"
Xvfb -displayfd 5 -screen 0 1280x1000x24 -nolisten tcp 5>"$scratch/display" >/dev/null 2>&1 &
server=$!
read -r number <"$scratch/display"
inside DISPLAY=":$number" kestrune-bar --demo --strip >"$scratch/words" 2>&1 &
bar=$!
for _ in $(seq 100); do
    DISPLAY=":$number" xwininfo -root -tree | grep -q '"Kestrune Bar"' && break
    sleep 0.1
done
sleep 2
DISPLAY=":$number" xwininfo -root -tree | grep -q '"Kestrune Bar"' || { echo "no strip:"; cat "$scratch/words"; exit 1; }
DISPLAY=":$number" import -silent -window root -crop 400x60+880+0 "$pictures/$suite-strip.png"
child=$(pgrep -P "$bar" kestrune-bar || echo "$bar")
kill "$child"
wait "$bar"
bar=
[ ! -s "$scratch/words" ] || { echo "the bar said:"; cat "$scratch/words"; exit 1; }
say "bar on a virtual display" "shows, quits with 0, says nothing"

inside apt-get purge -qq -y kestrune-bar >/dev/null 2>&1
left=$(inside find / -xdev -path "$home" -prune -o -name '*kestrune*' -print)
[ -z "$left" ] || { echo "left behind after the removal:"; echo "$left"; exit 1; }
say "removed" "nothing is left"
echo "pictures in $pictures"
