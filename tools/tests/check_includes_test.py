#!/usr/bin/env python3
"""The include rules catch what they are there to catch, and the project keeps them."""

import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True  # the checkout holds sources only
sys.path.append(str(TOOLS))
import check_includes  # noqa: E402


class IncludeRules(unittest.TestCase):
    def check(self, files):
        """The rules on a tree of these files; a header without text gets the guard that it should have."""
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                path = Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                guard = "_".join(name.upper().replace(".", "/").split("/"))
                if Path(name).name in ("Kavun.h", "Pellora.h"):
                    guard = Path(name).stem.upper() + "_H"
                path.write_text(text or f"#ifndef {guard}\n#define {guard}\n#endif\n")
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

    def test_a_guard_names_the_folder_and_the_file_and_may_leave_out_what_is_between(self):
        for guard in ("PLAYER_PORT_H", "PLAYER_CORE_PORT_H", "PLAYER_SRC_CORE_PORT_H"):
            code, said = self.check({"player/src/core/Port.h": f"#ifndef {guard}\n#define {guard}\n#endif\n"})
            self.assertEqual(code, 0, said)

    def test_a_guard_that_does_not_follow_the_path_is_wrong(self):
        for text in ("#ifndef PORT_H\n#define PORT_H\n#endif\n", "#ifndef PLAYER_PORTS_H\n#define PLAYER_PORTS_H\n#endif\n",
                     "#ifndef PLAYER_PORT_H\n#define PLAYER_PORTS_H\n#endif\n", "#pragma once\n", "int i;\n"):
            code, said = self.check({"player/src/core/Port.h": text})
            self.assertEqual(code, 1, text)
            self.assertIn("player/src/core/Port.h: ", said)

    def test_two_headers_may_not_share_a_guard(self):
        text = "#ifndef PLAYER_PORT_H\n#define PLAYER_PORT_H\n#endif\n"
        code, said = self.check({"player/src/core/Port.h": text, "player/src/live/Port.h": text})
        self.assertEqual(code, 1)
        self.assertIn("is that of player/src/core/Port.h, too", said)

    def test_a_public_headers_guard_is_its_name_alone(self):
        self.assertEqual(self.check({"interface/Pellora.h": "#ifndef PELLORA_H\n#define PELLORA_H\n#endif\n"})[0], 0)

    def test_a_tree_without_sources_is_no_pass(self):
        self.assertEqual(self.check({})[0], 1)

    def test_the_table_in_the_document_is_the_one_that_is_checked(self):
        text = (TOOLS.parent / "docs" / "architecture.md").read_text(encoding="utf-8")
        table = re.search(r"^\| folder \| holds \| may include \|\n\| --.*\n((?:\|.*\n)+)", text, re.MULTILINE)[1]
        told = {}
        for row in table.splitlines():
            folders, _, allowed = (re.findall(r"`(\w+)/?`", cell) for cell in row.strip("|").split(" | "))
            for folder in folders:
                told[folder] = set(allowed) - {folder}
        self.assertEqual(set(told), set(check_includes.MAY_INCLUDE) - {"tests", "bench"})
        # What the words of a row say besides, such as "everything below", is for readers.
        for folder, allowed in told.items():
            self.assertLessEqual(allowed - set(check_includes.MAY_INCLUDE[folder]), set(), folder)

    def test_the_project_keeps_the_rules(self):
        code, said = self.run_on(TOOLS.parent)
        self.assertEqual(code, 0, said)


if __name__ == "__main__":
    unittest.main(verbosity=2)
