#!/usr/bin/env python3
"""Tries soak.py on defects of our own making: soak_test.py PROGRAM

It has to find them, replay them, and leave of the steps those that the defect takes.
"""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True  # the checkout holds sources only
sys.path.insert(0, str(Path(__file__).resolve().parent))
import soak  # noqa: E402

PROGRAM = ""
SEED, STEPS = "8", "0-149"


def drive(*options):
    """What soak.py ends with and prints."""
    output = io.StringIO()
    arguments, sys.argv = sys.argv, ["soak.py", PROGRAM, *options]
    try:
        with contextlib.redirect_stdout(output):
            return soak.main(), output.getvalue()
    finally:
        sys.argv = arguments


class Shrinking(unittest.TestCase):
    def test_leaves_the_elements_that_a_failure_takes(self):
        left = soak.shrink(list(range(100)), lambda steps: {3, 50, 98} <= set(steps))
        self.assertEqual(left, [3, 50, 98])

    def test_leaves_one_where_each_fails(self):
        self.assertEqual(len(soak.shrink(list(range(10)), lambda steps: True)), 1)

    def test_leaves_all_where_all_are_needed(self):
        self.assertEqual(soak.shrink([1, 2, 3], lambda steps: len(steps) == 3), [1, 2, 3])


class PlantedDefects(unittest.TestCase):
    NAMES = ["MakeHost", "CreateWindow", "SplitScreen"]

    def test_are_found_replayed_and_shrunk(self):
        with tempfile.TemporaryDirectory() as folder:
            file = str(Path(folder) / "left.steps")
            status, output = drive("--seed", SEED, "--steps", STEPS, "--plant", "answer", "--shrink", "--out", file)
            self.assertEqual(status, 1, output)
            self.assertIn("FAILURE 1 in step", output)
            left = Path(file).read_text(encoding="utf-8").split("\n")[:-1]
            self.assertEqual([line.split()[0] for line in left], self.NAMES, output)
            for plant, kind in [("answer", 1), ("hang", 3), ("crash", 4), ("leak", 5)]:
                status, output = drive("--replay", file, "--plant", plant, "--watchdog", "5" if plant == "hang" else "60")
                self.assertEqual(status, kind, output)
                self.assertIn(f"FAILURE {kind} in ", output)
            # It was the plant.
            self.assertEqual(drive("--replay", file)[0], 0)


if __name__ == "__main__":
    PROGRAM = sys.argv.pop(1)
    unittest.main()
