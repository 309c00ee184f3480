#!/usr/bin/env python3
"""One Wine server stays for a whole run, is nobody else's, and goes with the run."""

import os
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parent.parent
WITH_WINE = TOOLS / "with-wine.sh"
WINE = TOOLS / "wine64.sh"
# Of Linux' personalities: what lies in memory begins at fixed places.
ADDR_NO_RANDOMIZE = 0x0040000
SERVER = "/usr/lib/wine/wineserver64"
# For a busy machine, which makes a prefix first.
DEADLINE = 240


class WineServer(unittest.TestCase):
    """Its prefix is one of its own, so that the run in which this test runs keeps its server."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.environment = dict(os.environ, WINEPREFIX=cls.folder.name, DISPLAY="", WINEDEBUG="-all",
                               WINEDLLOVERRIDES="mscoree,mshtml=")
        cls.environment.pop("PELLORA_WINE_SERVER", None)

    def start(self, command):
        return subprocess.Popen([WITH_WINE, "bash", "-c", command], env=self.environment, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def is_running(self):
        # -k0 sends the server nothing, and fails where there is none.
        return subprocess.run([SERVER, "-k0"], env=self.environment, capture_output=True).returncode == 0

    def wait_for_the_servers_end(self):
        subprocess.run([SERVER, "-w"], env=self.environment, timeout=DEADLINE, check=True)

    def test_stays_without_clients_and_goes_with_the_run(self):
        # By itself it would leave within seconds of the last client: that of the first line.
        run = self.start(f"{WINE} cmd /c echo client; timeout 15 " + SERVER + " -w; echo waited: $?; exit 3")
        said, _ = run.communicate(timeout=DEADLINE)
        self.assertEqual(run.returncode, 3)
        self.assertEqual(said.split(), ["client", "waited:", "124"])
        self.assertFalse(self.is_running())

    def test_goes_also_when_the_run_is_killed(self):
        run = self.start("echo here; read -r line")
        self.assertEqual(run.stdout.readline(), "here\n")
        self.assertTrue(self.is_running())
        run.send_signal(signal.SIGKILL)
        self.wait_for_the_servers_end()
        run.communicate()

    def test_a_second_run_waits_for_the_first(self):
        first = self.start("echo here; read -r line; echo first")
        self.assertEqual(first.stdout.readline(), "here\n")
        second = self.start("echo second")
        self.assertIn("waiting for its end", second.stderr.readline())
        self.assertIsNone(second.poll())
        self.assertEqual(first.communicate("go on\n", timeout=DEADLINE)[0], "first\n")
        self.assertEqual(second.communicate(timeout=DEADLINE)[0], "second\n")

    def test_its_programs_have_a_heap_in_a_fixed_place(self):
        may_be_fixed = subprocess.run(["setarch", "--addr-no-randomize", "true"], capture_output=True).returncode == 0
        with subprocess.Popen([WINE, "cmd"], env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as cmd:
            # Its banner: it is Wine by now.
            self.assertTrue(cmd.stdout.read(1))
            personality = int(Path(f"/proc/{cmd.pid}/personality").read_text(), 16)
            cmd.stdin.close()
        self.assertEqual(bool(personality & ADDR_NO_RANDOMIZE), may_be_fixed)
        self.wait_for_the_servers_end()

    def test_a_run_inside_a_run_takes_its_server(self):
        run = self.start(f"{WITH_WINE} echo inside")
        self.assertEqual(run.communicate(timeout=DEADLINE)[0], "inside\n")


if __name__ == "__main__":
    unittest.main(verbosity=2)
