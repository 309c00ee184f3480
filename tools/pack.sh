#!/usr/bin/env bash
# Packs what the target pellora_package made: tools/pack.sh BUILD_FOLDER
#
# SOURCE_DATE_EPOCH  the time of all files in the archives (default: that of the last commit)
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$(realpath "$1")"
# A source tree without its history still packs.
SOURCE_DATE_EPOCH="${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct 2>/dev/null || echo 315532800)}"
export SOURCE_DATE_EPOCH
rm -f "$build"/pellora-*-win64*
if ! (cd "$build" && cpack --config CPackConfig.cmake) >"$build/pack.log" 2>&1; then
    echo "ERROR: the package was not made. The last lines of $build/pack.log:" >&2
    tail -n 20 "$build/pack.log" >&2
    exit 1
fi
