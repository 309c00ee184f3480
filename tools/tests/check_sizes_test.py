#!/usr/bin/env python3
"""The rule on the length of files catches what it is there to catch."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parent.parent


class Sizes(unittest.TestCase):
    def check(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for name, lines in files.items():
                path = Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text("int i;\n" * lines)
            run = subprocess.run([sys.executable, TOOLS / "check_sizes.py", folder], capture_output=True, text=True)
            return run.returncode, run.stdout

    def test_the_longest_that_is_allowed_is_right_and_a_line_more_is_wrong(self):
        self.assertEqual(self.check({"rules/A.cpp": 450})[0], 0)
        code, said = self.check({"rules/A.cpp": 450, "rules/B.h": 451})
        self.assertEqual(code, 1)
        self.assertIn("rules/B.h: 451 lines", said)
        self.assertNotIn("A.cpp", said)

    def test_tests_and_what_is_built_may_be_long(self):
        self.assertEqual(self.check({"rules/A.cpp": 1, "rules/tests/T.cpp": 900, "tests/t.py": 900, "build/g.cpp": 900})[0], 0)

    def test_a_tree_without_sources_is_no_pass(self):
        self.assertEqual(self.check({"readme.txt": 1})[0], 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
