#!/usr/bin/env bash
# Runs a command with a display: tools/with-display.sh COMMAND [ARGUMENT…]
# The one that is there (DISPLAY) or, without one or with PELLORA_VIRTUAL_DISPLAY=1, a virtual one of its own.
set -euo pipefail
if [ -n "${DISPLAY:-}" ] && [ "${PELLORA_VIRTUAL_DISPLAY:-0}" != 1 ]; then
    exec "$@"
fi
folder="$(mktemp -d)"
# Xvfb picks a free number and writes it to the descriptor when it is ready.
Xvfb -displayfd 3 -screen 0 "${PELLORA_SCREEN:-1600x1200x24}" -nolisten tcp 3>"$folder/display" 2>"$folder/log" &
server=$!
trap 'kill "$server" 2>/dev/null || true; wait "$server" 2>/dev/null || true; rm -rf "$folder"' EXIT
for _ in $(seq 100); do
    [ -s "$folder/display" ] && break
    kill -0 "$server" 2>/dev/null || { echo "ERROR: Xvfb ended: $(cat "$folder/log")" >&2; exit 1; }
    sleep 0.1
done
[ -s "$folder/display" ] || { echo "ERROR: Xvfb did not start within 10 seconds: $(cat "$folder/log")" >&2; exit 1; }
DISPLAY=":$(cat "$folder/display")"
export DISPLAY
status=0
"$@" || status=$?
exit "$status"
