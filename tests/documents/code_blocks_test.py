#!/usr/bin/env python3
"""Compiles the pieces of C in the documents that no other test builds and runs, each as it would stand in a host.

A piece may hold functions and statements: GCC takes both inside a function.
"""

import re
import subprocess
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
DOCUMENTS = ["docs/host-guide.md", "docs/rules.md", "docs/how-far.md"]
COMPILER = ["x86_64-w64-mingw32-gcc-posix", "-std=gnu11", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wno-unused",
            "-Wno-unused-parameter", f"-I{ROOT}/interface", f"-I{ROOT}/device/include", "-x", "c", "-"]
HEADERS = """
#include "Pellora_load.h"
#include <stdio.h>
#include <wchar.h>
"""
# What a host has at hand; a piece may declare it anew.
HOST = "void host{number}(HWND shell, long window, long pane, long panes, const char *file, tagPELLORA_PREVIEW_PARAM request)"


def pieces(document):
    """(line, text) of each piece of C."""
    text = (ROOT / document).read_text(encoding="utf-8")
    return [(text.count("\n", 0, match.start(1)) + 1, match[1])
            for match in re.finditer(r"^```c\n(.*?)^```", text, re.MULTILINE | re.DOTALL)]


def complaints(document, parts):
    """The compiler's, with the document's lines."""
    code = HEADERS
    for number, (line, text) in enumerate(parts):
        head = HOST.format(number=number)
        inside = re.sub(r"\bstatic ", "", text)  # functions inside a function are never static
        code += f'{head};\n{head}\n{{ {{\n#line {line} "{document}"\n{inside}}} }}\n'
    return subprocess.run(COMPILER, input=code, capture_output=True, text=True).stderr


class CodeInDocuments(unittest.TestCase):
    def test_is_taken_by_the_compiler(self):
        for document in DOCUMENTS:
            with self.subTest(document):
                parts = pieces(document)
                self.assertGreater(len(parts), 0)
                self.assertEqual(complaints(document, parts), "")

    def test_would_be_refused_with_a_wrong_name_or_a_missing_argument(self):
        wrong = complaints("page.md", [(7, "PELLORA_SetCurWnd(window, pane);\n"), (20, "PELLORA_PlayFile(window);\n"),
                                       (30, "PELLORA_SetCurWnd(window);\n")])
        self.assertIn("page.md:20:", wrong)
        self.assertIn("PELLORA_PlayFile", wrong)
        self.assertRegex(wrong, "page.md:30:.*too few arguments")
        self.assertNotIn("page.md:7:", wrong)


if __name__ == "__main__":
    unittest.main()
