#!/usr/bin/env python3
"""clang-tidy is run again over what changed, and over nothing else."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent


class Checkout:
    """A project of two files that are compiled, and of a header that one of them includes."""

    def __init__(self, folder, cache):
        self.root = folder
        self.cache = cache
        (folder / "tools").mkdir(parents=True)
        shutil.copy(ROOT / "tools" / "tidy.py", folder / "tools")
        (folder / ".clang-tidy").write_text("Checks: '-*,modernize-use-nullptr'\nHeaderFilterRegex: '.*'\n")
        self.write("rules/A.h", "int *first();\n")
        self.write("rules/A.cpp", '#include "rules/A.h"\n')
        self.write("rules/B.cpp", "int *second();\n")
        for preset, names in (("mingw-release", ["A", "B"]), ("linux-asan", ["B"]), ("linux-fuzz", ["B"])):
            build = folder / "build" / preset
            build.mkdir(parents=True)
            (build / "compile_commands.json").write_text(json.dumps([
                {"directory": str(build), "file": str(folder / "rules" / f"{name}.cpp"),
                 "command": f"/usr/bin/x86_64-w64-mingw32-g++-posix -I{folder} -o {name}.o -c {folder}/rules/{name}.cpp"}
                for name in names]))

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def lint(self):
        """The last line of what it says, and everything."""
        run = subprocess.run([sys.executable, self.root / "tools" / "tidy.py"], capture_output=True, text=True,
                             env=dict(os.environ, PELLORA_CACHE=str(self.cache)))
        said = run.stdout + run.stderr
        return said.strip().splitlines()[-1], said


class Memory(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.checkout = Checkout(self.folder / "first", self.folder / "cache")
        self.assertEqual(self.checkout.lint()[0], "2 files, 2 of them read, 0 with findings.")

    def test_what_has_not_changed_is_not_read_again(self):
        self.assertEqual(self.checkout.lint()[0], "2 files, 0 of them read, 0 with findings.")

    def test_another_checkout_profits(self):
        other = Checkout(self.folder / "another", self.folder / "cache")
        self.assertEqual(other.lint()[0], "2 files, 0 of them read, 0 with findings.")

    def test_a_changed_header_is_read_with_what_includes_it(self):
        # A comment alone: it may have silenced a finding.
        self.checkout.write("rules/A.h", "int *first(); // changed\n")
        self.assertEqual(self.checkout.lint()[0], "2 files, 1 of them read, 0 with findings.")
        self.checkout.write("rules/A.h", "int *first();\n")
        self.assertEqual(self.checkout.lint()[0], "2 files, 0 of them read, 0 with findings.")

    def test_a_finding_is_found_again(self):
        self.checkout.write("rules/A.h", "inline int *first() { return 0; }\n")
        for _ in range(2):
            last, said = self.checkout.lint()
            self.assertEqual(last, "2 files, 1 of them read, 1 with findings.")
            self.assertIn("modernize-use-nullptr", said)

    def test_what_nobody_asked_for_in_a_month_is_forgotten(self):
        remembered = list((self.folder / "cache" / "tidy").glob("*/*"))
        self.assertEqual(len(remembered), 2)
        os.utime(remembered[0], (time.time() - 31 * 24 * 3600,) * 2)
        self.assertEqual(self.checkout.lint()[0], "2 files, 1 of them read, 0 with findings.")
        self.assertEqual(len(list((self.folder / "cache" / "tidy").glob("*"))), 2)

    def test_another_configuration_reads_everything(self):
        self.checkout.write(".clang-tidy", "Checks: '-*,modernize-use-override'\n")
        self.assertEqual(self.checkout.lint()[0], "2 files, 2 of them read, 0 with findings.")


if __name__ == "__main__":
    unittest.main(verbosity=2)
