#!/usr/bin/env bash
# Formatting, include rules, lengths and clang-tidy over the whole project: tools/lint.sh [--quick | FILE…]
#
# --quick: all but clang-tidy, which reads for minutes where much has changed; the files are for clang-tidy alone.
# clang-tidy needs the compile commands of build/mingw-release (and of build/linux-asan and build/linux-fuzz for what is
# built natively only), so the presets are built first.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$root"
failed=no

mapfile -t sources < <(git ls-files --cached --others --exclude-standard '*.h' '*.hpp' '*.c' '*.cpp' ':!deps/')
echo "Formatting: ${#sources[@]} files …"
clang-format --dry-run -Werror "${sources[@]}" || failed=yes

echo "Includes …"
python3 tools/check_includes.py || failed=yes

echo "Lengths …"
python3 tools/check_sizes.py || failed=yes

if [ "${1:-}" != --quick ]; then
    echo "clang-tidy …"
    python3 tools/tidy.py "$@" || failed=yes
fi

[ "$failed" = no ] || { echo "ERROR: the checks above found something." >&2; exit 1; }
echo "Checks passed."
