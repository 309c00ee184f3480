#!/usr/bin/env bash
# Runs a command with one Wine server for all that it starts: tools/with-wine.sh COMMAND [ARGUMENT…]
#
# Wine's server leaves some seconds after its last client, and a client that arrives at that moment ends without a word.
# An idle client keeps the server here. It reads from a pipe that this script holds, so that it never outlives the script.
#
# Two displays must not share a server, since Wine's desktop stays on the first one's: a second run waits for the first.
# WINEPREFIX: default: the project's own prefix, made by tools/wine-prefix.sh
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
export WINEPREFIX="${WINEPREFIX:-$("$here/wine-prefix.sh")}"
[ "${PELLORA_WINE_SERVER:-}" != "$WINEPREFIX" ] || exec "$@"
export PELLORA_WINE_SERVER="$WINEPREFIX"
server=/usr/lib/wine/wineserver64
other="Another program uses the Wine prefix $WINEPREFIX; waiting for its end …"

exec 9>"$WINEPREFIX/.lock"
flock -n 9 || { echo "$other" >&2 && flock 9; }
# What was started without this script is left alone, too.
timeout 10 "$server" -w || { echo "$other" >&2 && "$server" -w; }

folder="$(mktemp -d)"
mkfifo "$folder/pipe"
exec 8<>"$folder/pipe"
leave() {
    "$server" -k || true
    "$server" -w || true
    rm -rf "$folder"
}
trap leave EXIT
WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= "$here/wine64.sh" cmd <"$folder/pipe" >"$folder/banner" 2>&1 8>&- 9>&- &
for _ in $(seq 1800); do
    [ -s "$folder/banner" ] && break
    sleep 0.1
done
[ -s "$folder/banner" ] || { echo "ERROR: Wine did not start within three minutes in $WINEPREFIX." >&2 && exit 1; }
status=0
"$@" 8>&- 9>&- || status=$?
exit "$status"
