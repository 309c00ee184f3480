#!/usr/bin/env bash
# Runs an application of NW.js under Wine: tools/shell-run.sh FOLDER
#
# Page and window have to be in one process (--single-process): under Wine a child window of another process is never drawn.
# Each run has a profile of its own, so that no crash report and no setting of an earlier one is there.
# What the page writes to its console is in the output.
# PELLORA_NODE            folder of the add-on's package
# PELLORA_SHELL_SETTINGS  file with the page's settings (hosts/shell/page/host.js)
# WINEPREFIX, DISPLAY     as for tools/wine-run.sh
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
nwjs="$("$here/nwjs.sh")"
export WINEPREFIX="${WINEPREFIX:-$("$here/wine-prefix.sh")}"
profile="$(mktemp -d "$WINEPREFIX/drive_c/profile-XXXXXX")"
trap 'rm -rf "$profile"' EXIT
for name in PELLORA_NODE PELLORA_SHELL_SETTINGS; do
    # Node.js for Windows takes paths of Windows.
    [ -z "${!name:-}" ] || export "$name=Z:${!name//\//\\}"
done
status=0
"$here/wine-run.sh" "$nwjs/nw.exe" --no-sandbox --disable-gpu --in-process-gpu --single-process \
    --enable-logging=stderr "--user-data-dir=C:\\$(basename "$profile")" "Z:${1//\//\\}" || status=$?
exit "$status"
