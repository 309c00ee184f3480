#!/usr/bin/env python3
"""A program that hangs under Wine is told of by a line for each thread; one that has ended is not."""

import os
import subprocess
import sys
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOOLS))
import stacks  # noqa: E402

DEADLINE = 240

THREADS = """process  tid      prio (all id:s are in hex)
00000020 h.exe
\t00000024    0     
\t00000124    0     wine_rpcrt4_io
00000038 other.exe
\t0000003c    0     
"""

STACKS = """0x00000170055615 ntdll+0x55615: ret\t
0x24
Backtrace:
=>0 0x0000017000eb84 in ntdll (+0xeb84) (0000000000000000)
  1 0x0000017005c674 RtlAcquireSRWLockExclusive+0x74(lock=<register RBX not accessible>) [Z:\\sync.c:575] in ntdll (0000)
  2 0x000001700deadb pellora::Queue::take(int)+0x7f [Z:\\Queue.cpp:3] in pellora (0000)
  3 0x0000007b627e49 BaseThreadInitThunk+0x9(unknown=<internal error>) [Z:\\thread.c:61] in kernel32 (0000000000000000)
0x124
Unknown thread id (0124) in process (0020)
"""


class Text(unittest.TestCase):
    def test_threads_are_those_of_the_program(self):
        self.assertEqual(stacks.threads(THREADS, "H.EXE"), {"00000020": {"00000024": "", "00000124": "wine_rpcrt4_io"}})
        self.assertEqual(stacks.threads(THREADS, "none.exe"), {})

    def test_frames_are_named_as_far_as_they_have_names(self):
        self.assertEqual(stacks.stacks(STACKS), {
            0x24: ["ntdll+0xeb84", "RtlAcquireSRWLockExclusive (ntdll)", "pellora::Queue::take (pellora)"],
            0x124: []})


class Program(unittest.TestCase):
    def setUp(self):
        self.environment = {**os.environ, "WINEDEBUG": "-all", "DISPLAY": ""}
        if "WINEPREFIX" not in os.environ:
            self.environment["WINEPREFIX"] = subprocess.check_output([TOOLS / "wine-prefix.sh"], text=True).strip()

    def told(self, *arguments):
        return subprocess.run([TOOLS / "stacks.py", *arguments], env=self.environment, stdout=subprocess.PIPE, text=True,
                              timeout=DEADLINE, check=True).stdout

    def test_one_that_waits_is_told_of_and_goes_on(self):
        with subprocess.Popen([TOOLS / "wine64.sh", "cmd"], env=self.environment, stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE) as cmd:
            # Its banner: it is Wine by now.
            self.assertTrue(cmd.stdout.read(1))
            said = self.told("cmd.exe")
            output, _ = cmd.communicate(b"echo going on\r\nexit\r\n", timeout=DEADLINE)
        self.assertIn("where the threads of cmd.exe", said)
        self.assertRegex(said, r"(?m)^  [0-9a-f]{4} : .*ReadFile \(kernelbase\).* < .*\(cmd\)")
        self.assertIn(b"going on", output)
        self.assertEqual(cmd.returncode, 0)

    def test_one_that_runs_too_long_says_so_itself(self):
        program = Path(self.environment["WINEPREFIX"]) / "drive_c" / "windows" / "system32" / "cmd.exe"
        environment = {**self.environment, "PELLORA_KEEP_OUTPUT": "1", "PELLORA_STACKS_AFTER": "1"}
        with subprocess.Popen([TOOLS / "wine-run.sh", program], env=environment, stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True) as run:
            # Until it has: the limit of the runner of these tests is this wait's.
            self.assertTrue(any("where the threads of cmd.exe" in line for line in run.stdout))
            self.assertTrue(any("(cmd)" in line for line in run.stdout))
            run.communicate("exit\n", timeout=DEADLINE)
        self.assertEqual(run.returncode, 0)

    def test_none_is_told_of(self):
        self.assertEqual(self.told("nobody.exe"), "no program nobody.exe runs\n")

    def test_one_that_ends_in_time_is_not_told_of(self):
        with subprocess.Popen(["true"]) as ended:
            ended.wait()
        self.assertEqual(self.told("cmd.exe", "--after", "60", "--while", str(ended.pid)), "")


if __name__ == "__main__":
    unittest.main(verbosity=2)
