#!/usr/bin/env bash
# Runs a Windows program of the build under Wine: tools/wine-run.sh PROGRAM [ARGUMENT…]
#
# PELLORA_BIN  folder with the libraries, searched after the program's own (default: the program's)
# WINEPREFIX   default: the project's own prefix, made by tools/wine-prefix.sh
# DISPLAY      needed by programs that open windows
# PELLORA_KEEP_OUTPUT  pass the output on by way of a file: Wine's own services outlive the program and would hold a
#                      test runner's pipe open, which then waits for them
# PELLORA_STACKS_AFTER seconds, for a program whose output is passed on: one that runs longer is hung, and it is told
#                      where its threads stand
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
    exec "$here/wine64.sh" "$program" "$@"
fi
output="$(mktemp)"
trap 'rm -f "$output"' EXIT
"$here/wine64.sh" "$program" "$@" >"$output" 2>&1 <&0 &
wine=$!
trap 'kill "$wine" 2>/dev/null || true' INT TERM
# At once, so that what a program has said is not lost where it hangs and is ended.
tail -n +1 --sleep-interval=0.1 --pid="$wine" -f "$output" &
tail=$!
if [ -n "${PELLORA_STACKS_AFTER:-}" ]; then
    "$here/stacks.py" "$(basename "$program")" --after "$PELLORA_STACKS_AFTER" --while "$wine" >>"$output" 2>&1 &
fi
status=0
wait "$wine" || status=$?
wait "$tail"
exit "$status"
