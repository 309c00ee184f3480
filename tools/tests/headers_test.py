#!/usr/bin/env python3
"""The public headers compile in every language and mode that hosts use: each by itself and included twice, and the C++
wrapper with all of its functions called."""

import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.append(str(ROOT / "tools"))
import tidy  # noqa: E402  knows where mingw's headers are

TRIPLET = "x86_64-w64-mingw32"
# What hosts see; the folder interface also holds the library's own headers.
FOLDERS = {"interface": "Pellora*", "device/include": "*", "player/include": "*"}
STRICT = ["-fsyntax-only", "-pedantic-errors", "-Wall", "-Wextra", "-Wshadow", "-Werror"]
LANGUAGES = {".h": ["c99", "c11", "c++11", "c++17"], ".hpp": ["c++17"]}


def public_headers():
    return sorted(header for folder, names in FOLDERS.items() for header in (ROOT / folder).glob(names)
                  if header.suffix in LANGUAGES)


CLANG = {"": ["clang", "--target=x86_64-w64-windows-gnu"], "++": ["clang++", *tidy.mingw_arguments()]}


def compilers(standard):
    plus = "++" if "++" in standard else ""
    return {
        "GCC": [f"{TRIPLET}-g{plus or 'cc'}-posix"],
        "clang": CLANG[plus],
        # As Microsoft's compiler looks names up. The system's headers ask for what is not defined then.
        "clang in Microsoft's mode": [*CLANG[plus], "-fms-compatibility", "-fms-compatibility-version=19.30",
                                      "-fgnuc-version=4.2.1", "-D__STRICT_ANSI__"],
    }


def said_of(source, compiler, standard):
    """What the compiler says of a program, if it does not take it."""
    more = ["-Wnon-virtual-dtor"] if "++" in standard else []
    includes = [f"-I{ROOT / name}" for name in FOLDERS]
    done = subprocess.run([*compiler, f"-std={standard}", *STRICT, *more, *includes, str(source)], capture_output=True,
                          text=True, check=False)
    return "" if done.returncode == 0 else done.stderr or "it failed without a word"


def compile_twice(header, compiler, standard, folder):
    """What the compiler says of a program that is nothing but the header, twice."""
    source = Path(folder) / ("host.cpp" if "++" in standard else "host.c")
    source.write_text(f'#include "{header}"\n#include "{header}"\nint main(void) {{ return 0; }}\n')
    return said_of(source, [*compiler, "-DWIN32_LEAN_AND_MEAN"], standard)


def complaints(headers):
    """The first complaint about each header in each mode."""
    jobs = [(header, name, compiler, standard) for header in headers for standard in LANGUAGES[header.suffix]
            for name, compiler in compilers(standard).items()]

    def run(job):
        header, name, compiler, standard = job
        with tempfile.TemporaryDirectory() as folder:
            said = compile_twice(header, compiler, standard, folder)
        return f"{header.name}, {name}, {standard}: {said[:1000]}" if said else None

    with ThreadPoolExecutor(2) as pool:
        return len(jobs), [said for said in pool.map(run, jobs) if said]


class Headers(unittest.TestCase):
    def test_are_found(self):
        names = {header.name for header in public_headers()}
        self.assertLessEqual({"Pellora.h", "PelloraTypes.h", "Selvikdcm.h", "Kavun.h"}, names)
        self.assertNotIn("PaneChoice.h", names)

    def test_compile_in_every_language_and_mode(self):
        count, said = complaints(public_headers())
        self.assertGreaterEqual(count, 48)
        self.assertEqual("\n".join(said), "")


class Wrapper(unittest.TestCase):
    """Pellora.hpp in use."""

    GCC, CLANG, MICROSOFT = compilers("c++17").values()
    DIALECTS = [([*GCC, "-O2"], "c++17"), ([*GCC, "-DNOMINMAX", "-DUNICODE", "-DWIN32_LEAN_AND_MEAN"], "c++20"),
                (CLANG, "c++17"), ([*MICROSOFT, "-fms-extensions"], "c++17")]

    def said_by_the_strictest(self, text):
        with tempfile.TemporaryDirectory() as folder:
            source = Path(folder) / "host.cpp"
            source.write_text(text, encoding="utf-8")
            return [said_of(source, *dialect) for dialect in (self.DIALECTS[0], self.DIALECTS[-1])]

    def test_takes_every_function(self):
        for compiler, standard in self.DIALECTS:
            with self.subTest(compiler=compiler, standard=standard):
                self.assertEqual(said_of(ROOT / "interface" / "tests" / "WrapperDialect.cpp", compiler, standard), "")

    def test_would_see_an_extension(self):
        said = self.said_by_the_strictest('#include "Pellora.hpp"\nint main() { return ({ 0; }); }\n')
        self.assertTrue(all(said))

    def test_would_see_a_rule_given_another_ones_record(self):
        said = self.said_by_the_strictest('#include "Pellora.hpp"\nbool wrong(const pellora::Rule<PELLORA_RULE_POINT> &rule)\n'
                                          "{\n    return rule.set(tagPELLORA_RULE_RECT{});\n}\n")
        self.assertTrue(all(said))


class Check(unittest.TestCase):
    """What it is to find, in headers made for it."""

    def complaints_about(self, text, name="Host.h"):
        with tempfile.TemporaryDirectory() as folder:
            header = Path(folder) / name
            header.write_text(text)
            return complaints([header])

    def test_passes_what_is_in_order(self):
        count, said = self.complaints_about("#ifndef HOST_H\n#define HOST_H\nint f(void);\n#endif\n")
        self.assertEqual((count, said), (12, []))

    def test_finds_a_missing_guard(self):
        count, said = self.complaints_about("struct S { int a; };\n")
        self.assertEqual(len(said), count)

    def test_finds_what_is_only_cpp(self):
        _, said = self.complaints_about("#ifndef HOST_H\n#define HOST_H\nbool f();\n#endif\n")
        self.assertEqual(sorted({text.split(", ")[2].split(":")[0] for text in said}), ["c11", "c99"])

    def test_finds_an_extension_of_the_compilers(self):
        count, said = self.complaints_about("#ifndef HOST_H\n#define HOST_H\nstruct S { int n; int empty[0]; };\n#endif\n")
        self.assertEqual(len(said), count)

    def test_finds_a_warning(self):
        text = "#ifndef HOST_H\n#define HOST_H\nstatic int f(int a) { return 0; }\n#endif\n"
        count, said = self.complaints_about(text)
        self.assertEqual(len(said), count)

    def test_finds_a_name_that_needs_another_header(self):
        count, said = self.complaints_about("#ifndef HOST_H\n#define HOST_H\nvoid f(HWND hWnd);\n#endif\n")
        self.assertEqual(len(said), count)


if __name__ == "__main__":
    unittest.main()
