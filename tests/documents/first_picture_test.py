#!/usr/bin/env python3
"""Does what docs/first-picture.md says, block by block, and README.md's host: first_picture_test.py BUILD-FOLDER

The archive is laid out from the build. Each program has to bring the clip's colours to the screen. Needs what
tests/demo/demo_screen_test.py needs.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from urllib.parse import quote

ROOT = Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.append(str(ROOT / "tests" / "demo"))
import demo_screen_test as demo  # noqa: E402

BUILD = None
LIBRARIES = ["Pellora", "Selvikdcm", "Drovel"]
CROSS = {"gcc": "x86_64-w64-mingw32-gcc-posix", "g++": "x86_64-w64-mingw32-g++-posix",
         "cmake -B": "cmake -G Ninja -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=AMD64 "
                     "-DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++-posix -B"}
MAGENTA = (255, 0, 255)
MISSING_DLL_UNDER_WINE = 53


def blocks(document):
    """(language, text) of each block."""
    return re.findall(r"^```(\w+)\n(.*?)^```", (ROOT / document).read_text(encoding="utf-8"), re.MULTILINE | re.DOTALL)


def files(document):
    """Name and text of each block that is to be saved."""
    return re.findall(r"Save this as `([\w.]+)`:\n\n```\w+\n(.*?)^```", (ROOT / document).read_text(encoding="utf-8"),
                      re.MULTILINE | re.DOTALL)


def lay_out(folder):
    """The archive's folders, without copying what is large."""
    (folder / "bin").mkdir(parents=True)
    for part in (BUILD / "bin").iterdir():
        if part.suffix in (".dll", ".properties") or part.is_dir():
            (folder / "bin" / part.name).symlink_to(part)
    (folder / "include").mkdir()
    headers = [*(ROOT / "interface").glob("Pellora*.h"), *(ROOT / "interface").glob("Pellora*.hpp")]
    for header in [*headers, ROOT / "device" / "include" / "Selvikdcm.h", ROOT / "player" / "include" / "Kavun.h"]:
        shutil.copy(header, folder / "include")
    (folder / "lib" / "cmake" / "Pellora").mkdir(parents=True)
    shutil.copy(ROOT / "cmake" / "PelloraConfig.cmake", folder / "lib" / "cmake" / "Pellora")
    for name in LIBRARIES:
        shutil.copy(BUILD / "lib" / f"lib{name}.dll.a", folder / "lib")
    shutil.copytree(ROOT / "hosts", folder / "hosts")


class Running:
    """A program of the page, running for the length of a with block."""

    def __init__(self, program, argument, title):
        self.program, self.argument, self.title = program, argument, title

    def __enter__(self):
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen([ROOT / "tools" / "wine-run.sh", self.program, self.argument], stdout=self.log,
                                        stderr=subprocess.STDOUT, env=without_help())
        return self

    def __exit__(self, *_):
        subprocess.run(["xdotool", "search", "--name", self.title, "windowkill"], capture_output=True)
        self.process.terminate()
        self.process.wait()
        self.log.close()

    def said(self):
        return os.pread(self.log.fileno(), 1 << 20, 0).decode(errors="replace")

    def pixels(self):
        """A function from thousandths of the window to its colour; None without a window."""
        run = subprocess.run(["xwininfo", "-name", self.title], capture_output=True, text=True)
        values = dict(re.findall(r"^\s*([\w -]+):\s+(-?\d+)$", run.stdout, re.MULTILINE))
        if run.returncode != 0:
            return None
        left, top = int(values["Absolute upper-left X"]), int(values["Absolute upper-left Y"])
        width, height = int(values["Width"]), int(values["Height"])
        raw = subprocess.run(["import", "-window", "root", "-crop", f"{width}x{height}+{left}+{top}", "-depth", "8", "rgb:-"],
                             capture_output=True, check=True).stdout
        if len(raw) != width * height * 3:
            return None

        def at(x, y):
            start = (height * y // 1000 * width + width * x // 1000) * 3
            return tuple(raw[start:start + 3])
        return at

    def wait_for(self, condition, seconds=120):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if self.process.poll() is not None:
                raise AssertionError(f"{self.program.name} ended with {self.process.returncode}: {self.said()}")
            at = self.pixels()
            if at is not None and condition(at):
                return
            time.sleep(0.2)
        raise AssertionError(f"{self.program.name}: not reached in {seconds} s: {self.said()}")


def without_help():
    """The libraries are found where the page says, not by the search path of the tests."""
    return {**os.environ, "PELLORA_BIN": "/nowhere", "PELLORA_KEEP_OUTPUT": ""}


def plays(at):
    # The quarters' middles, wherever the frame of the window is.
    points = [(250, 270), (750, 270), (250, 770), (750, 770)]
    return all(demo.near(at(*point), demo.rgb_of(quarter)) for point, quarter in zip(points, demo.QUARTERS))


def has_rectangle(at):
    # Its upper side, a pixel or two thick.
    return plays(at) and any(at(500, y) == MAGENTA for y in range(280, 400))


class FirstPicture(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.place = Path(cls.folder.name)
        lay_out(cls.place / "pellora")
        demo.make_clip(cls.place / "clip.mp4")
        cls.commands = [line for language, text in blocks("docs/first-picture.md") if language == "sh"
                        for line in text.splitlines()]
        for name, text in files("docs/first-picture.md"):
            (cls.place / name).write_text(text, encoding="utf-8")

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def build(self, *beginnings):
        """Runs the page's lines that begin so."""
        for beginning in beginnings:
            lines = [line for line in self.commands if line.startswith(beginning)]
            self.assertEqual(len(lines), 1, f"{beginning}: {lines}")
            command = lines[0]
            for name, cross in CROSS.items():
                command = re.sub(rf"(?<![\w./-]){re.escape(name)}(?= )", cross, command)
            done = subprocess.run(["sh", "-c", command], cwd=self.place, capture_output=True, text=True)
            self.assertEqual(done.returncode, 0, command + "\n" + done.stdout + done.stderr)

    def check(self, program, condition=plays, argument=None, title="First picture"):
        # The page runs what it has built.
        if program in ("pellora/bin/host.exe", "pellora/bin/demo.exe", "pellora/bin/readme.exe"):
            argument = "clip.mp4"
        else:
            lines = [line.split() for line in self.commands if line.split()[0] == program]
            self.assertEqual(len(lines), 1, program)
            argument = argument or lines[0][1]
        before = os.getcwd()
        os.chdir(self.place)
        try:
            with Running(self.place / program, argument, title) as running:
                running.wait_for(condition)
        except AssertionError as error:
            raise AssertionError(f"{error}\n{self.library_said()}") from error
        finally:
            os.chdir(before)

    def library_said(self):
        """The last lines of each log: the pages' programs leave the reason to it."""
        logs = [path for path in self.place.rglob("addon.log*") if "log4cxx" not in path.name]
        return "\n".join(f"{log}:\n" + "\n".join(log.read_text(errors="replace").splitlines()[-20:]) for log in logs)

    def test_a_file_in_cpp(self):
        self.build("g++ -std=c++17 -Ipellora/include first.cpp")
        self.check("pellora/bin/first.exe")

    def test_a_file_with_cmake(self):
        self.build("cmake -B build", "cmake --build build")
        self.check("build/first.exe")

    def test_a_file_in_c(self):
        self.build("gcc -std=c99 -Ipellora/include first.c")
        self.check("pellora/bin/first-c.exe")

    def test_a_library_loaded_when_the_program_runs(self):
        self.build("gcc -std=c99 -Ipellora/include loaded.c")
        self.check("loaded.exe")

    def test_a_library_loaded_when_the_program_runs_in_cpp(self):
        self.build("g++ -std=c++17 -static -Ipellora/include loaded.cpp")
        self.check("loaded-cpp.exe")

    def test_a_camera(self):
        self.build("g++ -std=c++17 -Ipellora/include camera.cpp")
        self.check("pellora/bin/camera.exe", argument="file:///Z:" + quote(str(self.place / "clip.mp4")))

    def test_a_rule(self):
        self.build("g++ -std=c++17 -Ipellora/include rule.cpp")
        self.check("pellora/bin/rule.exe", has_rectangle)

    def test_the_host_to_be_copied(self):
        self.build("cd pellora && g++")
        self.check("pellora/bin/host.exe", title="Pellora CPP host")

    def test_the_demo_to_be_copied(self):
        self.build("cd pellora && gcc")
        self.check("pellora/bin/demo.exe", title=demo.TITLE)

    def test_the_readmes_host_as_it_is_written(self):
        host = [text for language, text in blocks("README.md") if language == "c"]
        self.assertEqual(len(host), 1)
        (self.place / "readme.c").write_text(host[0], encoding="utf-8")
        subprocess.run([CROSS["gcc"], "-std=c99", "-pedantic-errors", "-Wall", "-Ipellora/include", "readme.c", "-Lpellora/lib",
                        "-lPellora", "-o", "pellora/bin/readme.exe"], cwd=self.place, check=True)
        self.check("pellora/bin/readme.exe", title="First host")

    def test_a_missing_library_looks_as_the_guide_says(self):
        self.build("g++ -std=c++17 -Ipellora/include first.cpp", "gcc -std=c99 -Ipellora/include loaded.c")
        alone = self.place / "alone"
        alone.mkdir()
        for program, status, said in [("pellora/bin/first.exe", MISSING_DLL_UNDER_WINE, ""),
                                      ("loaded.exe", 1, "not loaded, Windows error 126")]:
            shutil.copy(self.place / program, alone)
            run = subprocess.run([ROOT / "tools" / "wine-run.sh", alone / Path(program).name, "clip.mp4"], cwd=alone,
                                 capture_output=True, text=True, env=without_help())
            self.assertEqual(run.returncode, status, run.stderr)
            self.assertIn(said, run.stderr)

    def test_every_block_of_code_is_tried(self):
        tried = {name for name, _ in files("docs/first-picture.md")}
        self.assertEqual(tried, {"first.cpp", "CMakeLists.txt", "first.c", "loaded.c", "loaded.cpp", "camera.cpp", "rule.cpp"})
        code = [text for language, text in blocks("docs/first-picture.md") if language not in ("sh", "bat")]
        self.assertEqual(len(code), len(tried))


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
