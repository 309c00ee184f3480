#!/usr/bin/env python3
"""What is told of a run in which tests failed: the reasons, and not thousands of lines beside them."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL = Path(__file__).resolve().parent.parent / "failures.py"


class Failures(unittest.TestCase):
    def told(self, *options, **tests):
        """What is told of a real run of ctest, with these options, over commands for bash."""
        with tempfile.TemporaryDirectory() as folder:
            lines = [f"add_test({name} bash [=[{name}.sh]=])\n" for name in tests]
            (Path(folder) / "CTestTestfile.cmake").write_text("".join(lines))
            for name, command in tests.items():
                (Path(folder) / f"{name}.sh").write_text(command)
            subprocess.run(["ctest", "--test-dir", folder, *options], capture_output=True, check=False)
            log = Path(folder) / "Testing" / "Temporary" / "LastTest.log"
            return subprocess.run([sys.executable, TOOL, log], capture_output=True, text=True, check=True).stdout

    def test_says_nothing_of_what_passed(self):
        self.assertEqual(self.told(fine="echo all is well"), "")

    def test_names_each_failed_test_with_the_end_of_its_output(self):
        told = self.told(one="echo the reason; exit 1", fine="true", two="echo another; exit 3")
        self.assertIn("==== one: Test Failed.\nthe reason\n", told)
        self.assertIn("==== two: Test Failed.\nanother\n", told)
        self.assertNotIn("fine", told)

    def test_tells_what_a_test_that_did_not_end_said_last(self):
        told = self.told("--timeout", "10", slow="seq 1 1000; exec sleep 60")
        self.assertIn("==== slow", told)
        self.assertIn("\n1000\n", told)
        self.assertNotIn("\n500\n", told)

    def test_finds_the_reason_among_thousands_of_lines(self):
        for reason in ("../../a/b.cpp:12: Failure", "==77==ERROR: AddressSanitizer: heap-use-after-free", "FAIL: test_it (x)",
                       "a.cpp:3:4: runtime error: signed integer overflow", "not ok 3 - it plays"):
            told = self.told(x=f"seq 1 2000; echo '{reason}'; echo because; seq 3000 9000; exit 1")
            self.assertIn(f"…\n{reason}\nbecause\n3000\n", told)
            self.assertIn("\n9000\n", told)
            self.assertLess(len(told.splitlines()), 100)

    def test_goes_by_the_first_reasons_when_there_are_very_many(self):
        told = self.told(x="for i in $(seq 1 3000); do echo a.cpp:$i: Failure; done; exit 1")
        self.assertIn("a.cpp:1: Failure", told)
        self.assertLess(len(told.splitlines()), 250)

    def test_survives_bytes_that_are_no_text(self):
        self.assertIn("behind them", self.told(x="printf '\\377\\000\\376\\n'; echo behind them; exit 1"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
