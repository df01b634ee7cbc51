#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian package, looks at it with lintian, installs it into a fresh Debian 12 made by mmdebstrap and runs it
# there: a snapshot without a display, and the bar on a virtual one. Needs root and the package archive.
# try-package.sh [folder for the pictures]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
pictures=${1:-$root/build/package-pictures}
if [ "$(id -u)" -ne 0 ]; then
    echo "try-package: only root can make a Debian of its own" >&2
    exit 1
fi
install_missing mmdebstrap lintian xvfb x11-utils imagemagick
mkdir -p "$pictures"
pictures=$(cd "$pictures" && pwd)
scratch=$(mktemp -d -p "${TMPDIR:-/var/tmp}")
system=$scratch/debian
home=/srv/try # in that Debian
server=
bar=
finish() {
    for process in $bar $server; do
        kill "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    umount -q "$system/proc" 2>/dev/null || true
    mountpoint -q "$system/proc" || rm -rf "$scratch"
}
trap finish EXIT
inside() {
    chroot "$system" /usr/bin/env -i PATH=/usr/bin:/usr/sbin:/bin:/sbin HOME=$home LANG=C.UTF-8 \
        XDG_RUNTIME_DIR=$home/run DEBIAN_FRONTEND=noninteractive "$@"
}
say() { printf '%-44s %s\n' "$1" "$2"; }

package=$("$root/scripts/package.sh" 2>"$scratch/build.log") || { tail -n 40 "$scratch/build.log"; exit 1; }
package=$(tail -n 1 <<<"$package")
lintian --fail-on error "$package" >"$scratch/lintian.log" || { cat "$scratch/lintian.log"; exit 1; }
say "lintian" "no error, $(grep -c '^W:' "$scratch/lintian.log" || true) warnings"

# The same archive and the same way to it as on this machine.
apt-config dump | grep '^Acquire::' >"$scratch/apt.conf" || true
mirror=()
for file in /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources; do
    [ -s "$file" ] && mirror=("$file")
done
mmdebstrap --quiet --variant=apt --aptopt="$scratch/apt.conf" bookworm "$system" "${mirror[@]}" 2>"$scratch/mm.log" ||
    { tail -n 20 "$scratch/mm.log"; exit 1; }
mount -t proc proc "$system/proc"
inside mkdir -p "$home"
cp "$package" "$system$home/kestrune-bar.deb"
for file in /etc/resolv.conf /etc/hosts; do
    [ ! -e "$file" ] || cp "$file" "$system/etc/"
done
inside apt-get update -qq
inside apt-get install -qq -y --no-install-recommends "$home/kestrune-bar.deb" >"$scratch/install.log" 2>&1 ||
    { tail -n 20 "$scratch/install.log"; exit 1; }
inside mkdir -m 700 "$home/run"
say "installed in a fresh Debian 12" "$(inside kestrune-bar --version)"

inside kestrune-bar --demo --snapshot "$home/out" --symbol BTC --timeframe 4H >"$scratch/words" 2>&1
[ ! -s "$scratch/words" ] || { echo "the snapshot run said:"; cat "$scratch/words"; exit 1; }
grep -q '"resistance"' "$system$home/out/data.json"
cp "$system$home/out/popover.png" "$pictures/package-snapshot.png"
say "snapshot without a display" "$(identify -format '%wx%h' "$pictures/package-snapshot.png")"

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
DISPLAY=":$number" import -silent -window root -crop 400x60+880+0 "$pictures/package-strip.png"
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
