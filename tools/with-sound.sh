#!/usr/bin/env bash
# Runs a command with a sound device of its own: tools/with-sound.sh COMMAND [ARGUMENT…]
#
# The device plays to nobody; the command finds it by PULSE_SERVER, as Wine does. What it plays is recorded into the file
# PELLORA_HEARD: 48,000 samples of 16 bits a second on one channel. With PELLORA_SOUND=none there is no device at all.
set -euo pipefail
folder="$(mktemp -d)"
if [ "${PELLORA_SOUND:-}" = none ]; then
    trap 'rm -rf "$folder"' EXIT
    PULSE_SERVER="unix:$folder/nobody" "$@"
    exit
fi
socket="$folder/native"
# Its own settings, and no right of root's that it would ask for.
env HOME="$folder" XDG_RUNTIME_DIR="$folder" pulseaudio -n --daemonize=no --exit-idle-time=-1 --disallow-exit \
    --realtime=no --high-priority=no --log-target="file:$folder/log" \
    -L 'module-null-sink sink_name=null rate=48000' \
    -L "module-native-protocol-unix auth-anonymous=1 socket=$socket" >/dev/null 2>&1 &
server=$!
trap 'kill "$server" 2>/dev/null || true; wait "$server" 2>/dev/null || true; rm -rf "$folder"' EXIT
export PULSE_SERVER="unix:$socket"
for _ in $(seq 100); do
    pactl info >/dev/null 2>&1 && break
    kill -0 "$server" 2>/dev/null || { echo "ERROR: pulseaudio ended: $(cat "$folder/log")" >&2; exit 1; }
    sleep 0.1
done
pactl info >/dev/null || { echo "ERROR: pulseaudio did not start within 10 seconds" >&2; exit 1; }
# Recording begins before the sound does.
parec -d null.monitor --latency-msec=10 --format=s16le --rate=48000 --channels=1 --raw >"$folder/heard" 2>/dev/null &
ear=$!
trap 'kill "$ear" "$server" 2>/dev/null || true; wait "$ear" "$server" 2>/dev/null || true; rm -rf "$folder"' EXIT
export PELLORA_HEARD="$folder/heard"
for _ in $(seq 100); do
    [ -s "$PELLORA_HEARD" ] && break
    sleep 0.1
done
status=0
"$@" || status=$?
exit "$status"
