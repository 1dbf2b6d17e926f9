#!/usr/bin/env bash
# Installs the Debian packages that are needed and missing.
# Usage: tools/packages.sh SET...   with SET one of build, demo, test, bench
set -euo pipefail

declare -A sets=(
    [build]="cmake ninja-build g++ pkg-config libcli11-dev libpng-dev libjpeg-dev libaravis-dev libusb-1.0-0-dev
        libtomlplusplus-dev gettext libudev-dev libtiff-dev
        libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
        libpango1.0-dev libcairo2-dev libfontconfig-dev fonts-dejavu-core"
    [demo]="aravis-tools iproute2"
    [test]="clang libclang-rt-14-dev libgtest-dev aravis-tools iproute2 siril ffmpeg python3 mandoc locales
        libtiff-tools pngcheck mediainfo gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good
        fonts-droid-fallback imagemagick qemu-system-x86 busybox-static cpio kmod xz-utils"
    [bench]="libbenchmark-dev libavfilter-dev"
)

missing=()
for set in "$@"; do
    for package in ${sets[$set]}; do
        dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q ' installed$' || missing+=("$package")
    done
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

fail() {
    echo "$1" >&2
    echo "These packages are needed: ${missing[*]}" >&2
    exit 1
}
command -v apt-get >/dev/null || fail "This is no Debian system; please install the packages by hand."
root=()
if [[ $EUID -ne 0 ]]; then
    command -v sudo >/dev/null || fail "Packages are missing and there is no sudo; please install them as root."
    root=(sudo)
fi
apt() { "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=600 "$@"; }

echo "Installing ${missing[*]}"
apt update || echo "The package lists could not be read anew; going on with those that are here." >&2
apt install -y --no-install-recommends "${missing[@]}" >/dev/null || fail "The packages could not be installed."
