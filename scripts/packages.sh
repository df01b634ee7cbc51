# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# shellcheck disable=SC2034 # the lists are used by the scripts that source this file
# Debian packages by purpose, and their installation. Sourced by the other scripts.

build_packages=(g++ cmake ninja-build qt6-base-dev qt6-svg-dev qt6-multimedia-dev qcoro-qt6-dev
    libexpected-dev libsimdjson-dev zlib1g-dev libcurl4-openssl-dev libicu-dev libxcb1-dev pkg-config gzip)
run_packages=(fonts-noto-core fonts-noto-mono fonts-noto-cjk fonts-noto-color-emoji)
test_packages=(git ccache python3 python3-gi gir1.2-atspi-2.0 at-spi2-core xvfb xauth x11-utils dbus dbus-x11 openssl openbox
    xfce4-panel xfconf xdotool procps imagemagick pulseaudio pulseaudio-utils desktop-file-utils appstream shellcheck)
quick_packages=(git python3 clang-format) # what check.sh quick needs
check_packages=(clang clang-format clang-tidy cppcheck)
bench_packages=(libbenchmark-dev libglib2.0-bin python3 python3-gi xvfb dbus dbus-x11 x11-utils xdotool openbox xfce4-panel xfconf
    xfce4-settings qt6-gtk-platformtheme procps)

# The compiler's cache stops every build where it has no place to write.
cache=${CCACHE_DIR:-${XDG_CACHE_HOME:-~/.cache}}
{ mkdir -p "$cache" && [ -w "$cache" ]; } 2>/dev/null || export CCACHE_DISABLE=1

# Installs those of the named packages that are missing, with sudo when not root.
install_missing() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if ! command -v apt-get >/dev/null; then
        echo "Missing: ${missing[*]} (no apt-get here, please install them by hand)" >&2
        return 1
    fi
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "Missing: ${missing[*]} (neither root nor sudo here, please install them as root)" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
