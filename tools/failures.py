#!/usr/bin/env python3
"""Tells in short what failed in a run of ctest: of each such test the failures, reports and last lines, not its thousands of others.

    tools/failures.py build/all/Testing/Temporary/LastTest.log
"""

import re
import sys
from pathlib import Path

BEGIN = re.compile(r"^\d+/\d+ Testing: (.+)$")
RULE = re.compile(r"^-{20,}$")
END = "<end of output>"
# What GoogleTest, the sanitizers, Python's and Node.js' test runners and a crash write before the reason.
REASON = re.compile(r": Failure$|^==\d+==ERROR|^WARNING: ThreadSanitizer|runtime error:|^FAIL: |^ERROR: |^not ok |Unhandled exception")
LINES_OF_A_REASON = 25
LAST_LINES = 25
MOST_LINES = 150


def tests(text):
    """Each test's name, verdict and lines of output."""
    name, lines, state = None, [], None
    for line in text.splitlines():
        begin = BEGIN.match(line)
        if begin and state is None:
            name, lines, state = begin.group(1), [], "head"
        elif state == "head" and RULE.match(line):
            state = "output"
        elif state == "output" and line == END:
            state = "verdict"
        elif state == "output":
            lines.append(line)
        elif state == "verdict" and line.startswith("Test ") and not line.startswith("Test time"):
            yield name, line, lines
            state = None


def essence(lines):
    """The lines that tell why it failed, with dots for what is left out."""
    wanted = set(range(max(0, len(lines) - LAST_LINES), len(lines)))
    for number, line in enumerate(lines):
        if len(wanted) < MOST_LINES and REASON.search(line):
            wanted.update(range(number, min(number + LINES_OF_A_REASON, len(lines))))
    latest = -1
    for number in sorted(wanted):
        if number > latest + 1:
            yield "…"
        yield lines[number]
        latest = number


def main():
    text = Path(sys.argv[1]).read_text(encoding="utf-8", errors="replace")
    for name, verdict, lines in tests(text):
        if verdict != "Test Passed.":
            print(f"\n==== {name}: {verdict}")
            print("\n".join(essence(lines)))


if __name__ == "__main__":
    main()
