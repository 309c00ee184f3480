#!/usr/bin/env bash
# Runs one fuzz target that is built: tools/fuzz_target.sh NAME [--seconds N] [--input FILE]
#
# From the corpus in the repository, always with the same seed. What it finds on its way stays in
# build/linux-fuzz/fuzz/NAME/corpus until the next run. The input of a finding is kept in build/linux-fuzz/findings, and
# its path is told.
#
# --seconds  how long it runs (default: 15)
# --input    runs this input alone, once: a finding's, for example
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${PELLORA_FUZZ_BUILD:-$root/build/linux-fuzz}"

name=
seconds=15
input=
while [ $# -gt 0 ]; do
    case "$1" in
    --seconds)
        seconds="$2"
        shift
        ;;
    --input)
        input="$(realpath "$2")"
        shift
        ;;
    *) name="$1" ;;
    esac
    shift
done
if [ -z "$name" ] || [ ! -e "$build/fuzz/$name.target" ]; then
    echo "ERROR: there is no fuzz target ${name:-without a name} in $build; tools/build.sh linux-fuzz builds them." >&2
    exit 2
fi
value() { sed -n "s/^$1=//p" "$build/fuzz/$name.target"; }

work="$build/fuzz/$name"
findings="$build/findings"
mkdir -p "$work" "$findings"
cd "$work"
# Where llvm-symbolizer is not there, binutils reads the names; a stack without names is of no use.
export ASAN_OPTIONS="allow_addr2line=1:quarantine_size_mb=64:detect_stack_use_after_return=1:${ASAN_OPTIONS:-}"
export UBSAN_OPTIONS="allow_addr2line=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"
# More than any input may need. The limit of time is one of the clock on the wall, so it allows for a busy machine; the
# targets themselves limit the processor's time.
limits=(-rss_limit_mb=1536 -timeout=60)

if [ -n "$input" ]; then
    exec "$(value program)" "${limits[@]}" "$input"
fi
rm -rf corpus
mkdir corpus
dictionary=()
[ ! -e "$(value corpus).dict" ] || dictionary=(-dict="$(value corpus).dict")
if ! "$(value program)" "${limits[@]}" "${dictionary[@]}" -seed=4711 -max_total_time="$seconds" -max_len="$(value max_len)" \
    -artifact_prefix="$findings/$name-" -print_final_stats=1 -verbosity=1 corpus "$(value corpus)" >log 2>&1; then
    grep -v '^#[0-9]' log | tail -n 60
    echo "ERROR: the fuzz target $name found something."
    file="$(sed -n 's/.*Test unit written to //p' log | tail -n 1)"
    [ -z "$file" ] || printf 'The input: %s\nOnce more: %s %s --input %s\n' "$file" "tools/fuzz_target.sh" "$name" "$file"
    exit 1
fi
# libFuzzer ends in peace also when it could not begin.
runs="$(sed -n 's/^stat::number_of_executed_units: *//p' log)"
if [ "${runs:-0}" -lt 1 ]; then
    cat log
    echo "ERROR: the fuzz target $name ran nothing."
    exit 1
fi
echo "$name: $runs inputs in $seconds s, no finding; $(find corpus -type f | wc -l) of them new and worth keeping"
