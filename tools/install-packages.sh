#!/usr/bin/env bash
# Installs the Debian packages that are missing: tools/install-packages.sh GROUP…  (build, run, package, test, script)
# As root or with sudo. Does nothing, and asks for nothing, when all are there.
set -euo pipefail

declare -A packages=(
    [build]="g++ gcc g++-mingw-w64-x86-64-posix mingw-w64-tools binutils-mingw-w64-x86-64 cmake ninja-build meson make
        nasm pkg-config ccache python3 dpkg-dev patch xz-utils bzip2 ca-certificates googletest"
    [run]="wine wine64 xvfb xauth x11-utils imagemagick fonts-wine fonts-liberation fonts-noto-cjk"
    [script]="nodejs npm"
    [package]="python3-markdown llvm git"
    [test]="ffmpeg xdotool libgtest-dev libgmock-dev libdav1d-dev libyuv-dev libturbojpeg0-dev libpugixml-dev
        clang libclang-rt-dev clang-format clang-tidy lld git openssl python3-gi gir1.2-gst-rtsp-server-1.0
        gstreamer1.0-plugins-base
        gstreamer1.0-plugins-good gstreamer1.0-plugins-bad pulseaudio pulseaudio-utils"
)

wanted=()
for group in "$@"; do
    for package in ${packages[$group]}; do
        status="$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)"
        [ "$status" = installed ] || wanted+=("$package")
    done
done
[ ${#wanted[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || {
        echo "These packages are missing, and installing them needs root or sudo: ${wanted[*]}" >&2
        exit 1
    }
    as_root=(sudo)
fi
echo "Installing ${#wanted[@]} Debian packages: ${wanted[*]}"
log="$(mktemp)"
if ! {
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${wanted[@]}"
} >"$log" 2>&1; then
    echo "ERROR: the packages could not be installed. apt's last lines:" >&2
    tail -n 15 "$log" | sed 's/^/    /' >&2
    echo "The whole log: $log" >&2
    exit 1
fi
rm -f "$log"
