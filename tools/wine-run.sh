#!/usr/bin/env bash
# Runs a Windows program of the build under Wine: tools/wine-run.sh PROGRAM [ARGUMENT…]
#
# PELLORA_BIN  folder with the libraries, searched after the program's own (default: the program's)
# WINEPREFIX   default: the project's own prefix, made by tools/wine-prefix.sh
# DISPLAY      needed by programs that open windows
# PELLORA_KEEP_OUTPUT  print the output when the program has ended: Wine's own services outlive it and would hold a
#                      test runner's pipe open, which then waits for them
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
program="$1"
shift
export WINEPREFIX="${WINEPREFIX:-$("$here/wine-prefix.sh")}"
export WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
bin="${PELLORA_BIN:-$(dirname "$program")}"
# Z: is the whole file system; Wine turns the unix path given here into it.
export WINEPATH="Z:${bin//\//\\}"
if [ -z "${PELLORA_KEEP_OUTPUT:-}" ]; then
    exec /usr/lib/wine/wine64 "$program" "$@"
fi
output="$(mktemp)"
status=0
/usr/lib/wine/wine64 "$program" "$@" >"$output" 2>&1 || status=$?
cat "$output"
rm -f "$output"
exit "$status"
