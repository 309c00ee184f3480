#!/usr/bin/env bash
# Installs what is needed, builds, and shows cameras in a page of a real Chromium (NW.js for Windows, under Wine):
#
#     ./shell.sh [OPTION…] [SOURCE…]
#
# A source is a file, which a simulated camera sends, or the address of a camera. Without one, nine simulated cameras send
# real footage from Debian packages.
#
#     --cameras N   1 to 9 cameras (default: as many as there are sources; without sources 9)
#     --stay        leave the window open until it is closed
#     --seconds N   on the virtual display: play for so long (default: 8)
#
# The page is hosts/shell; every line of it is there to be copied. Without a display, and without --stay, a virtual one is
# used and shell.png is left here; it ends with 1 when no camera was shown. Complete on a bare Debian 12 (as root or with
# sudo), and quick the second time.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"

source "$root/tools/arguments.sh"

stay=no
seconds=8
cameras=
sources=()
while [ $# -gt 0 ]; do
    case "$1" in
    -h | --help) show_help ;;
    --stay) stay=yes ;;
    --seconds)
        require_seconds "${2:-}"
        seconds="$2"
        shift
        ;;
    --cameras)
        require_cameras "${2:-}"
        cameras="$2"
        shift
        ;;
    rtsp://* | rtsps://* | http://* | https://* | onvif://*) sources+=("$1") ;;
    *)
        if [ -f "$1" ]; then
            sources+=("$(realpath "$1")")
        else
            refuse "$1"
        fi
        ;;
    esac
    shift
done
[ ${#sources[@]} -le 9 ] || wrong "There are nine panes."
cd "$root"

tools/install-packages.sh build run
tools/nwjs.sh >/dev/null
tools/node-packages.sh
tools/build.sh mingw-release -- pellora_node
python3 hosts/node/pack.py build/mingw-release build/shell >/dev/null
if [ ${#sources[@]} -eq 0 ]; then
    mapfile -t sources < <(tools/footage.sh)
    [ ${#sources[@]} -gt 0 ] || exit 1
    cameras="${cameras:-9}"
fi
settings="$root/build/shell-settings.json"
# Addresses may hold passwords.
(umask 077 && tools/shell-settings.py "${cameras:-${#sources[@]}}" "${sources[@]}" >"$settings")
trap 'rm -f "$settings"' EXIT
export PELLORA_SHELL_SETTINGS="$settings" PELLORA_NODE="$root/build/shell/pellora"

if [ -n "${DISPLAY:-}" ] || [ "$stay" = yes ]; then
    tools/with-display.sh tools/with-wine.sh tools/shell-run.sh "$root/hosts/shell"
    exit
fi
rm -f shell.png
echo "Starting the shell …"
PELLORA_SCREEN=1300x860x24 tools/with-display.sh tools/with-wine.sh tools/shell-screenshot.sh "$seconds" "$root/shell.png" \
    "$root/hosts/shell"
echo "The page played for $seconds seconds; its screenshot: $root/shell.png"
