#!/usr/bin/env python3
"""What the runner of fuzz targets says of a finding, and that it cannot pass for nothing."""

import os
import stat
import subprocess
import tempfile
import unittest
from pathlib import Path

RUNNER = Path(__file__).resolve().parent.parent / "fuzz_target.sh"


class Runner(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.build = Path(folder.name)
        self.corpus = self.build / "source" / "corpus" / "some"
        self.corpus.mkdir(parents=True)
        (self.corpus / "seed").write_text("seed")
        (self.build / "fuzz").mkdir()
        (self.build / "fuzz" / "some.target").write_text(
            f"program={self.build}/program\ncorpus={self.corpus}\nmax_len=17\n")

    def run_program(self, text, *arguments):
        """The runner's result and words, with a shell script in the place of the target's program."""
        program = self.build / "program"
        program.write_text(f"#!/bin/sh\necho \"$@\" >>{self.build}/calls\n{text}\n")
        program.chmod(program.stat().st_mode | stat.S_IXUSR)
        run = subprocess.run([RUNNER, *(arguments or ["some"])], capture_output=True, text=True,
                             env=dict(os.environ, PELLORA_FUZZ_BUILD=str(self.build)))
        return run.returncode, run.stdout + run.stderr

    def calls(self):
        return (self.build / "calls").read_text()

    def test_a_run_without_a_finding_passes_and_is_counted(self):
        code, said = self.run_program("echo stat::number_of_executed_units: 4321")
        self.assertEqual(code, 0, said)
        self.assertIn("some: 4321 inputs in 15 s, no finding", said)

    def test_a_finding_fails_and_its_input_is_told(self):
        code, said = self.run_program("echo Test unit written to /there/crash-1; exit 77")
        self.assertEqual(code, 1)
        self.assertIn("The input: /there/crash-1\n", said)
        self.assertIn("tools/fuzz_target.sh some --input /there/crash-1", said)

    def test_a_target_that_ran_nothing_fails(self):
        for text in ("exit 0", "echo stat::number_of_executed_units: 0"):
            self.assertEqual(self.run_program(text)[0], 1)

    def test_a_target_that_does_not_exist_fails(self):
        for arguments in (["other"], ["--seconds", "1"]):
            code, said = self.run_program("exit 0", *arguments)
            self.assertEqual(code, 2)
            self.assertIn("there is no fuzz target", said)

    def test_each_run_begins_alike(self):
        self.run_program("echo found >corpus/found; echo stat::number_of_executed_units: 1")
        self.run_program("ls corpus; echo stat::number_of_executed_units: 1")
        self.assertEqual((self.build / "fuzz" / "some" / "log").read_text(), "stat::number_of_executed_units: 1\n")
        first, second = self.calls().splitlines()
        self.assertEqual(first, second)
        self.assertIn("-seed=", first)

    def test_bounds_and_folders_are_given(self):
        self.run_program("echo stat::number_of_executed_units: 1", "some", "--seconds", "3")
        words = self.calls().split()
        for word in ("-max_total_time=3", "-max_len=17", f"-artifact_prefix={self.build}/findings/some-"):
            self.assertIn(word, words)
        self.assertTrue({"-rss_limit_mb", "-timeout"} <= {word.split("=")[0] for word in words})
        # libFuzzer writes what it finds on its way into the first folder, which must not be the repository's.
        self.assertEqual(words[-2:], ["corpus", str(self.corpus)])
        self.assertNotIn("-dict", {word.split("=")[0] for word in words})

    def test_a_dictionary_beside_the_corpus_is_used(self):
        (self.corpus.parent / "some.dict").write_text('"word"\n')
        self.run_program("echo stat::number_of_executed_units: 1")
        self.assertIn(f"-dict={self.corpus}.dict", self.calls().split())

    def test_one_input_is_run_alone(self):
        self.run_program("exit 0", "some", "--input", str(self.corpus / "seed"))
        self.assertEqual(self.calls().split()[-1], str(self.corpus / "seed"))
        self.assertNotIn("-max_total_time", self.calls())


if __name__ == "__main__":
    unittest.main(verbosity=2)
