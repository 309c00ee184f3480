#!/usr/bin/env bash
# Runs a Windows program of the build under Wine: tools/wine-run.sh PROGRAM [ARGUMENT…]
#
# PELLORA_BIN  folder with the libraries, searched after the program's own (default: the program's)
# WINEPREFIX   default: the project's own prefix, made by tools/wine-prefix.sh
# DISPLAY      needed by programs that open windows
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
program="$1"
shift
export WINEPREFIX="${WINEPREFIX:-$("$here/wine-prefix.sh")}"
export WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
bin="${PELLORA_BIN:-$(dirname "$program")}"
# Z: is the whole file system; Wine turns the unix path given here into it.
export WINEPATH="Z:${bin//\//\\}"
exec /usr/lib/wine/wine64 "$program" "$@"
