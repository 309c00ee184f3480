#!/usr/bin/env bash
# Long runs of the fuzz targets: tools/fuzz.sh [TARGET…] [--seconds N]
#
# --seconds  for each target (default: 600)
# All targets, where none is named; as many at a time as there are processors. Builds them first. A finding's input is
# kept, and its path is told. The short runs of ./test.sh are the same but for the time.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

targets=()
seconds=600
while [ $# -gt 0 ]; do
    case "$1" in
    --seconds)
        seconds="$2"
        shift
        ;;
    -*)
        sed -n '2,6s/^# \{0,1\}//p' "$0"
        [ "$1" = -h ] || [ "$1" = --help ] && exit 0
        exit 2
        ;;
    *) targets+=("$1") ;;
    esac
    shift
done

tools/install-packages.sh build test
tools/build.sh linux-fuzz
if [ ${#targets[@]} -eq 0 ]; then
    for file in build/linux-fuzz/fuzz/*.target; do targets+=("$(basename "$file" .target)"); done
fi
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I '{}' tools/fuzz_target.sh '{}' --seconds "$seconds" || {
    echo "ERROR: a target found something, see above." >&2
    exit 1
}
