#!/usr/bin/env python3
"""The include rules catch what they are there to catch, and the project keeps them."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parent.parent


class IncludeRules(unittest.TestCase):
    def check(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                path = Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text)
            return self.run_on(folder)

    def run_on(self, folder):
        run = subprocess.run([sys.executable, TOOLS / "check_includes.py", folder], capture_output=True, text=True)
        return run.returncode, run.stdout

    def test_an_include_that_points_down_is_right(self):
        code, said = self.check({"rules/A.h": "", "VideoWindow/B.cpp": '#include "rules/A.h"\n'})
        self.assertEqual(code, 0, said)

    def test_an_include_that_points_up_is_wrong(self):
        code, said = self.check({"VideoWindow/B.h": "", "rules/A.cpp": '#include "VideoWindow/B.h"\n'})
        self.assertEqual(code, 1)
        self.assertIn("rules/A.cpp:1: rules may not include VideoWindow", said)

    def test_a_header_named_relative_to_its_own_folder_is_wrong(self):
        code, said = self.check({"rules/A.h": "", "rules/A.cpp": '#include "A.h"\n'})
        self.assertEqual(code, 1)
        self.assertIn("source root", said)

    def test_a_companion_shows_only_its_public_header(self):
        files = {"player/include/Kavun.h": "", "player/src/Port.h": ""}
        self.assertEqual(self.check({**files, "Drovel/D.cpp": '#include "Kavun.h"\n'})[0], 0)
        self.assertEqual(self.check({**files, "Drovel/D.cpp": '#include "player/src/Port.h"\n'})[0], 1)

    def test_a_host_sees_the_public_header_alone(self):
        files = {"interface/Pellora.h": "", "interface/Text.h": "", "rules/A.h": ""}
        self.assertEqual(self.check({**files, "hosts/h/main.c": '#include "interface/Pellora.h"\n'})[0], 0)
        self.assertEqual(self.check({**files, "hosts/h/main.c": '#include "interface/Text.h"\n'})[0], 1)
        self.assertEqual(self.check({**files, "hosts/h/main.c": '#include "rules/A.h"\n'})[0], 1)

    def test_a_tree_without_sources_is_no_pass(self):
        self.assertEqual(self.check({})[0], 1)

    def test_the_project_keeps_the_rules(self):
        code, said = self.run_on(TOOLS.parent)
        self.assertEqual(code, 0, said)


if __name__ == "__main__":
    unittest.main(verbosity=2)
