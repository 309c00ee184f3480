#!/usr/bin/env bash
# Runs the demo host and takes a screenshot near its end: tools/demo-screenshot.sh SECONDS PNG PROGRAM [ARGUMENT…]
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
seconds="$1"
picture="$2"
shift 2
log="$(mktemp)"
"$here/wine-run.sh" "$@" --seconds "$((seconds + 3))" >"$log" 2>&1 &
host=$!
sleep "$seconds"
if ! kill -0 "$host" 2>/dev/null; then
    wait "$host" || true
    echo "ERROR: the demo host ended early. What it said:" >&2
    tail -n 20 "$log" >&2
    exit 1
fi
import -window root "$picture"
status=0
wait "$host" || status=$?
if [ "$status" -ne 0 ]; then
    echo "ERROR: the demo host ended with $status. What it said:" >&2
    tail -n 20 "$log" >&2
else
    # Some of several sources.
    grep 'cannot be' "$log" >&2 || true
fi
rm -f "$log"
exit "$status"
