#!/usr/bin/env bash
# Installs what is needed, builds, and plays video in a Pellora window:
#
#     ./demo.sh [--stay] [--seconds N] [FILE… | OPTION… of the demo host]
#
# Without a display a virtual one is used: it plays for some seconds and leaves demo.png here. With one, or with
# --stay, the window stays open until it is closed. Without a file it plays real footage from Debian packages in nine
# panes. Complete on a bare Debian 12 (as root or with sudo), and quick the second time.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
cd "$root"

stay=no
seconds=8
arguments=()
files=no
while [ $# -gt 0 ]; do
    case "$1" in
    -h)
        sed -n '2,9s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
    --stay) stay=yes ;;
    --seconds)
        seconds="$2"
        shift
        ;;
    --*) arguments+=("$1") ;;
    *)
        if [ -e "$1" ]; then
            files=yes
            # Wine's Z: is the whole file system.
            arguments+=("Z:$(realpath "$1")")
        else
            arguments+=("$1")
        fi
        ;;
    esac
    shift
done

tools/install-packages.sh build run
tools/build.sh mingw-release
if [ "$files" = no ]; then
    footage="$(tools/footage.sh)"
    while IFS= read -r file; do arguments+=("Z:$file"); done <<<"$footage"
    arguments=(--split 9 "${arguments[@]}")
fi

bin="$root/build/mingw-release/bin"
if [ -n "${DISPLAY:-}" ] || [ "$stay" = yes ]; then
    exec tools/with-display.sh tools/wine-run.sh "$bin/PelloraDemo.exe" "${arguments[@]}"
fi

rm -f demo.png
PELLORA_SCREEN=1300x810x24 tools/with-display.sh tools/demo-screenshot.sh "$seconds" "$root/demo.png" \
    "$bin/PelloraDemo.exe" "${arguments[@]}"
echo "The demo host played for $seconds seconds; its screenshot: $root/demo.png"
