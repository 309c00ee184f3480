#!/usr/bin/env python3
"""Each test that docs/edge-cases.md names is in the sources, in the program that it names. Needs no build."""

import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
FOLDERS = ["base", "device", "Drovel", "interface", "player", "preview", "rules", "tests", "threadpool", "VideoWindow"]
NAMED = re.compile(r"`(\w+)` `(\w+)\.(\w+)`")


def sources():
    """Each file with tests, and the names in it."""
    for folder in FOLDERS:
        for path in (ROOT / folder).rglob("*.cpp"):
            text = path.read_text(encoding="utf-8")
            names = set(re.findall(r"^TEST(?:_[FP])?\((\w+), (\w+)\)", text, re.MULTILINE))
            if names:
                yield path, names


def programs_of(path):
    """The programs that a source file is built into: the first word of each list that names it."""
    for folder in path.parents:
        lists = folder / "CMakeLists.txt"
        if lists.exists():
            text = lists.read_text(encoding="utf-8")
            for call in re.findall(r"(?:pellora_add_test|add_executable)\(([^)]*)\)", text):
                words = [word for word in call.split() if word not in ("NAME", "DISPLAY")]
                if path.relative_to(folder).as_posix() in words:
                    yield words[0]
        if folder == ROOT:
            return


class EdgeCases(unittest.TestCase):
    def setUp(self):
        self.rows = [line for line in (ROOT / "docs/edge-cases.md").read_text(encoding="utf-8").splitlines()
                     if line.startswith("| ") and not line.startswith(("| ---", "| what "))]
        self.tests = {}
        for path, names in sources():
            for name in names:
                self.tests.setdefault(name, []).append(path)

    def test_are_many(self):
        self.assertGreater(len(self.rows), 60)

    def test_name_a_test_each(self):
        for row in self.rows:
            cells = row.strip("|").split(" | ")
            self.assertEqual(len(cells), 3, row)
            self.assertTrue(NAMED.search(cells[2]), f"no test for: {row}")
            self.assertEqual(NAMED.sub("", cells[2]).strip(" ,"), "", f"not a program and a test: {row}")

    def test_name_tests_that_are_there(self):
        for row in self.rows:
            for program, suite, name in NAMED.findall(row):
                files = self.tests.get((suite, name), [])
                self.assertTrue(files, f"there is no {suite}.{name}")
                programs = {found for path in files for found in programs_of(path)}
                self.assertIn(program, programs, f"{suite}.{name} is not in {program}")


if __name__ == "__main__":
    unittest.main()
