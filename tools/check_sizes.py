#!/usr/bin/env python3
"""Fails on a source file that is too long to be one thing: tools/check_sizes.py [ROOT]

Tests and the third-party libraries' recipes are left out; clang-tidy measures the functions.
"""

import sys
from pathlib import Path

LONGEST = 450
SUFFIXES = {".h", ".hpp", ".c", ".cpp", ".py", ".sh", ".cmake"}
LEFT_OUT = {"build", "tests", ".git"}


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent).resolve()
    files = [p for top in sorted(root.iterdir()) if top.name not in LEFT_OUT for p in [top, *sorted(top.rglob("*"))]
             if p.suffix in SUFFIXES and not LEFT_OUT & set(p.relative_to(root).parts)]
    too_long = 0
    for path in files:
        lines = len(path.read_text(encoding="utf-8").splitlines())
        if lines > LONGEST:
            too_long += 1
            print(f"{path.relative_to(root)}: {lines} lines, of which {LONGEST} are the most that a file may have")
    print(f"{len(files)} files, {too_long} of them too long.")
    return 1 if too_long or not files else 0


if __name__ == "__main__":
    sys.exit(main())
