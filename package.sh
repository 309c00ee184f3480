#!/usr/bin/env bash
# Installs what is needed, builds, and makes the package to take home, in build/mingw-release:
#
#     ./package.sh
#
#     pellora-VERSION-win64.zip            libraries, headers, import libraries, licences, guide, demo
#     pellora-VERSION-win64-symbols.zip    the debug symbols, to be unpacked over it
#     pellora-VERSION.tgz                  the npm package for Electron, NW.js and Node.js
#     pellora-VERSION-win64.sha256         the sums of all three
#
# The same commit gives the same bytes, wherever and whenever it is built; npm's archive does so with the same npm.
# docs/package.md tells what each file is for.
# Complete on a bare Debian 12 (as root or with sudo), and quick the second time.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
if [ $# -gt 0 ]; then
    sed -n '2,/^set /{/^set /d;s/^# \{0,1\}//p}' "$0"
    [ "$1" = -h ] || [ "$1" = --help ] && exit 0
    exit 2
fi
cd "$root"

tools/install-packages.sh build package
tools/node-packages.sh
tools/build.sh mingw-release -- pellora_package pellora_node
tools/pack.sh build/mingw-release
mkdir -p build/npm
npm_archive="$(python3 hosts/node/pack.py --release build/mingw-release build/npm)"
mv "$npm_archive" build/mingw-release
cd build/mingw-release
npm_archive="$(basename "$npm_archive")"
sha256sum "$npm_archive" >>"$(echo pellora-*-win64.sha256)"
for archive in pellora-*-win64.zip pellora-*-win64-symbols.zip "$npm_archive"; do
    printf '%s  %d.%d MB\n' "$root/build/mingw-release/$archive" $(($(stat -c %s "$archive") / 1000000)) \
        $(($(stat -c %s "$archive") / 100000 % 10))
done
cat pellora-*-win64.sha256
