#!/usr/bin/env bash
# Runs the example page in NW.js and takes a screenshot when its cameras have played for some seconds:
#     tools/shell-screenshot.sh SECONDS PNG FOLDER
# Ends with 1 when the shell ends, when no camera plays, or when the page says nothing within three minutes; the first start of a
# Wine prefix takes up to 20 seconds.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
seconds="$1"
picture="$2"
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
"$here/shell-run.sh" "$3" >"$log" 2>&1 &
shell=$!

fail() {
    echo "ERROR: $1 What it said:" >&2
    grep -a CONSOLE "$log" >&2 || tail -n 20 "$log" >&2
    exit 1
}

waited=0
until playing="$(grep -a -o 'Panes playing: [0-9]* of [0-9]*' "$log")"; do
    kill -0 "$shell" 2>/dev/null || fail "the shell ended early."
    [ $((waited += 1)) -le 360 ] || fail "the page did not say within three minutes that it is there."
    sleep 0.5
done
echo "$playing"
[[ "$playing" != "Panes playing: 0 of "* ]] || fail "no camera plays."
sleep "$seconds"
kill -0 "$shell" 2>/dev/null || fail "the shell ended early."
import -window root "$picture"
# Its processes end with their Wine server, which tools/with-wine.sh ends.
