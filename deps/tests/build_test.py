#!/usr/bin/env python3
"""The dependency builder against small recipes: what it builds again, what it keeps, how it fails."""

import contextlib
import importlib.util
import io
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import textwrap
import time
import unittest
from pathlib import Path

DEPS = Path(__file__).resolve().parent.parent
RECIPE = '''# A dependency for tests.
needs="{needs}"
version="1.0"
unpack() {{ :; }}
configure() {{ :; }}
build() {{ {build}; }}
install() {{ echo {name} >"$PREFIX/result"; echo built {name} >>"$COUNT"; }}
'''


def load_builder():
    spec = importlib.util.spec_from_file_location("build_under_test", DEPS / "build.py")
    builder = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(builder)
    return builder


class Workshop:
    """A copy of the builder with recipes of the test's own and an empty cache."""

    def __init__(self):
        self.folder = Path(tempfile.mkdtemp())
        self.root = self.folder / "deps"
        (self.root / "recipes").mkdir(parents=True)
        shutil.copytree(DEPS / "shims", self.root / "shims")
        shutil.copy(DEPS / "build.py", self.root)
        shutil.copy(DEPS / "recipes" / "common.sh", self.root / "recipes")
        (self.root / "sources.tsv").write_text("")
        self.cache = self.folder / "cache"
        self.count = self.folder / "count"
        self.count.write_text("")
        self.names = []
        self.meanwhile = ""  # Python that runs before the builder does, with its module "build".

    def recipe(self, name, needs="", build=":"):
        if name not in self.names:
            self.names.append(name)
        (self.root / "recipes" / f"{name}.sh").write_text(RECIPE.format(name=name, needs=needs, build=build))

    def environment(self):
        return dict(os.environ, PELLORA_CACHE=str(self.cache), COUNT=str(self.count))

    def command(self):
        program = (f"import sys; sys.path.insert(0, {str(self.root)!r}); import build\n{self.meanwhile}\n"
                   f"build.WINDOWS = {self.names!r}; build.NATIVE = []; build.PROGRESS_SECONDS = 0.1; "
                   f"build.EXPECTED_STEPS = {{'alone': 5}}; sys.argv = ['build']; sys.exit(build.main())")
        return [sys.executable, "-B", "-c", program]

    def run(self):
        """One run: exit code, what it said, and what it built."""
        self.count.write_text("")
        run = subprocess.run(self.command(), env=self.environment(), capture_output=True, text=True, timeout=60)
        built = [line.split()[1] for line in self.count.read_text().splitlines()]
        return run.returncode, run.stdout + run.stderr, built

    @contextlib.contextmanager
    def running(self):
        """A run that goes on meanwhile, and is ended as a person would end it."""
        process = subprocess.Popen(self.command(), env=self.environment(), stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, text=True, start_new_session=True)
        try:
            yield process
        finally:
            process.send_signal(signal.SIGTERM)
            process.communicate(timeout=30)

    def close(self):
        shutil.rmtree(self.folder)


class DependencyBuilder(unittest.TestCase):
    def setUp(self):
        self.shop = Workshop()
        self.addCleanup(self.shop.close)
        self.shop.recipe("lower")
        self.shop.recipe("upper", needs="lower")
        self.shop.recipe("alone")

    def test_builds_what_others_stand_on_first_and_counts_up(self):
        code, said, built = self.shop.run()
        self.assertEqual(code, 0, said)
        self.assertEqual(sorted(built), ["alone", "lower", "upper"])
        self.assertLess(built.index("lower"), built.index("upper"))
        for number in (1, 2, 3):
            self.assertIn(f"[{number}/3] ", said)

    def test_builds_nothing_the_second_time(self):
        self.shop.run()
        code, said, built = self.shop.run()
        self.assertEqual((code, built), (0, []))
        self.assertIn("all 3 are built", said)

    def test_a_changed_recipe_rebuilds_itself_and_what_stands_on_it_and_nothing_else(self):
        self.shop.run()
        self.shop.recipe("lower", build="true")
        code, said, built = self.shop.run()
        self.assertEqual(code, 0, said)
        self.assertEqual(built, ["lower", "upper"])

    def test_a_changed_patch_rebuilds_the_recipe_that_applies_it_and_what_stands_on_that(self):
        (self.shop.root / "patches").mkdir()
        patch = self.shop.root / "patches" / "lower.patch"
        patch.write_text("one")
        self.shop.recipe("lower", build='cmp -s /dev/null "$DEPS/patches/lower.patch" || true')
        self.assertEqual(sorted(self.shop.run()[2]), ["alone", "lower", "upper"])
        self.assertEqual(self.shop.run()[2], [])
        patch.write_text("another")
        code, said, built = self.shop.run()
        self.assertEqual((code, built), (0, ["lower", "upper"]), said)

    def test_explains_a_failure_and_goes_on_after_it_is_mended(self):
        self.shop.recipe("alone", build="echo the reason; false")
        code, said, _ = self.shop.run()
        self.assertEqual(code, 1)
        self.assertIn("alone 1.0 did not build", said)
        self.assertIn("the reason", said)
        self.assertIn(str(self.shop.cache / "logs" / "alone.log"), said)
        self.shop.recipe("alone")
        code, said, built = self.shop.run()
        self.assertEqual(code, 0, said)
        self.assertIn("alone", built)

    def test_a_failed_build_never_looks_whole(self):
        self.shop.recipe("alone", build='mkdir -p "$PREFIX/lib"; touch "$PREFIX/lib/half"; false')
        self.assertEqual(self.shop.run()[0], 1)
        self.assertEqual(self.shop.run()[0], 1, "a half-installed dependency was taken for whole")

    def test_goes_on_where_it_was_killed(self):
        # The first run configures, then hangs until it is killed; the second must not configure again.
        (self.shop.root / "recipes" / "alone.sh").write_text(
            'needs=""\nversion="1.0"\nunpack() { :; }\n'
            'configure() { echo built configured >>"$COUNT"; }\n'
            'build() { [ -e "$WORK/second" ] || { touch "$WORK/second"; sleep 300; }; }\n'
            'install() { echo built alone >>"$COUNT"; }\n')
        with self.shop.running() as process:
            deadline = time.monotonic() + 30
            while not list(self.shop.cache.glob("work/alone-*/second")) and time.monotonic() < deadline:
                time.sleep(0.05)
            self.assertTrue(list(self.shop.cache.glob("work/alone-*/second")), "the build did not get to its middle")
        self.assertNotEqual(process.returncode, 0)
        code, said, built = self.shop.run()
        self.assertEqual(code, 0, said)
        self.assertIn("going on where it was interrupted", said)
        self.assertIn("alone", built)
        self.assertNotIn("configured", built)

    def wait_for(self, process, wanted):
        for line in process.stdout:
            if wanted in line:
                return line
        self.fail(f"'{wanted}' was not said")

    def test_says_how_far_a_build_is_that_ninja_counts(self):
        self.shop.recipe("alone", build="echo '[1/4] Building a.o'; echo '[3/4] Building c.o'; sleep 300")
        with self.shop.running() as process:
            self.wait_for(process, "alone 1.0: 3 of 4 steps, about ")

    def test_counts_the_compilers_steps_of_other_builds_also_over_an_interruption(self):
        self.shop.recipe("alone", build="printf 'CC\\ta.o\\ng++ -Wall -c b.cpp\\nSTRIP\\tb.o\\n'; sleep 300")
        with self.shop.running() as process:
            self.wait_for(process, "alone 1.0: 2 of 5 steps, about ")
        with self.shop.running() as process:
            self.wait_for(process, "alone 1.0: 4 of 5 steps, about ")

    def test_counts_the_steps_of_a_build_that_is_quicker_than_its_builder(self):
        # The recipe's first steps stand in its log before anybody has looked there.
        self.shop.recipe("alone", build="printf 'CC\\ta.o\\n'; sleep 300")
        self.shop.meanwhile = textwrap.dedent("""
            import time, types
            def after_a_step(arguments, begin=build.subprocess.Popen, **options):
                child = begin(arguments, **options)
                log = build.Path(options["stdout"].name)
                deadline = time.monotonic() + 30
                while log.stem == "alone" and "CC" not in log.read_text() and time.monotonic() < deadline:
                    time.sleep(0.01)
                return child
            build.subprocess = types.SimpleNamespace(**dict(vars(build.subprocess), Popen=after_a_step))
            """)
        with self.shop.running() as process:
            self.wait_for(process, "alone 1.0: 1 of 5 steps, about ")

    def test_ends_a_recipe_that_begins_while_it_is_ended(self):
        self.shop.recipe("alone", build="sleep 300")
        self.shop.meanwhile = textwrap.dedent("""
            import os, signal, threading, types
            ending = threading.Event()
            def end(builder, real=build.Builder._terminate):
                ending.set()
                real(builder)
            def while_it_ends(arguments, begin=build.subprocess.Popen, **options):
                if build.Path(options["stdout"].name).stem == "alone":
                    os.kill(os.getpid(), signal.SIGTERM)
                    ending.wait(30)
                return begin(arguments, **options)
            build.Builder._terminate = end
            build.subprocess = types.SimpleNamespace(**dict(vars(build.subprocess), Popen=while_it_ends))
            """)
        code, said, built = self.shop.run()
        self.assertEqual(code, 130, said)
        self.assertNotIn("alone", built)

    def test_promises_no_end_where_none_is_known(self):
        self.shop.recipe("lower", build="printf 'CC\\ta.o\\n'; sleep 300")
        with self.shop.running() as process:
            self.assertNotIn("about", self.wait_for(process, "lower 1.0: 1 steps, "))


class Estimate(unittest.TestCase):
    def test_goes_by_the_pace_of_the_latest_steps(self):
        self.assertEqual(load_builder().progress(500, 800, 100, 60), "500 of 800 steps, about 3:00 to go")

    def test_is_left_out_when_there_are_more_steps_than_expected(self):
        self.assertEqual(load_builder().progress(900, 800, 100, 60), "900 steps")

    def test_waits_for_the_first_step(self):
        self.assertEqual(load_builder().progress(0, 800, 0, 0), "unpacking and configuring")


class PinnedSources(unittest.TestCase):
    """A source that is not the pinned one must never be built."""

    def setUp(self):
        self.build = load_builder()
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.build.CACHE = Path(self.folder.name) / "cache"
        self.given = Path(self.folder.name) / "given"
        self.given.mkdir()
        os.environ["PELLORA_SOURCES"] = str(self.given)
        self.addCleanup(os.environ.pop, "PELLORA_SOURCES")
        # SHA-256 of "pinned".
        self.source = self.build.Source(["x", "1", "no-such-package", "1-1", "bookworm", "x_1.orig.tar.gz",
                                         self.sum_of(b"pinned")])

    def sum_of(self, content):
        path = Path(self.folder.name) / "content"
        path.write_bytes(content)
        return self.build.sha256_of(path)

    def test_a_folder_of_tarballs_stands_in_for_the_mirror(self):
        (self.given / self.source.file).write_bytes(b"pinned")
        self.assertEqual(self.build.Sources().fetch(self.source).read_bytes(), b"pinned")

    def test_a_file_with_another_sum_stops_the_build_and_says_which_is_wanted(self):
        (self.given / self.source.file).write_bytes(b"something else")
        with self.assertRaises(self.build.BuildError) as caught:
            self.build.Sources().fetch(self.source)
        self.assertIn(self.source.sha256, str(caught.exception))

    def test_a_source_that_is_not_to_be_had_is_named_with_its_sum(self):
        sources = self.build.Sources()
        sources._download = lambda source: "the mirror does not list it"
        with self.assertRaises(self.build.BuildError) as caught, contextlib.redirect_stderr(io.StringIO()):
            sources.fetch(self.source)
        self.assertIn(self.source.file, str(caught.exception))
        self.assertIn(self.source.sha256, str(caught.exception))
        self.assertIn("PELLORA_SOURCES", str(caught.exception))


if __name__ == "__main__":
    unittest.main(verbosity=2)
