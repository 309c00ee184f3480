#!/usr/bin/env bash
# Builds presets, with their dependencies: tools/build.sh PRESET… [-- TARGET…]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$root"
presets=()
while [ $# -gt 0 ] && [ "$1" != -- ]; do
    presets+=("$1")
    shift
done
[ $# -eq 0 ] || shift
targets=()
[ $# -eq 0 ] || targets=(--target "$@")

native=()
for preset in "${presets[@]}"; do
    case "$preset" in
    linux-*) native=(--native) ;;
    # All of a Windows preset has the add-on for JavaScript in it.
    *) [ ${#targets[@]} -gt 0 ] || tools/node-packages.sh ;;
    esac
done
python3 deps/build.py "${native[@]}"
for preset in "${presets[@]}"; do
    mkdir -p "build/$preset"
    log="build/$preset/build.log"
    began=$SECONDS
    echo "Building $preset …"
    # A warning fails the build: -Werror. The log is shown only when something went wrong.
    if ! { cmake --preset "$preset" && cmake --build "build/$preset" "${targets[@]}"; } >"$log" 2>&1; then
        echo "ERROR: $preset did not build. The last lines of $root/$log:" >&2
        tail -n 40 "$log" >&2
        exit 1
    fi
    printf 'Built %s in %d:%02d\n' "$preset" $(((SECONDS - began) / 60)) $(((SECONDS - began) % 60))
done
