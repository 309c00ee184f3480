#!/usr/bin/env python3
"""Runs the soak program; what fails is replayed and shrunk to the steps that it takes: tests/soak/soak.py PROGRAM [OPTION]…

--seed N       whose steps; 1 unless told
--steps A-B    which of them; 0-999 unless told
--replay FILE  the steps of a file instead
--seconds S    the run ends, and well, when the time is over
--shrink       on a failure: leaves steps out as long as it stays the same failure, and prints those that are left
--out FILE     the steps that are left go into this file as well
--tries N      a run that fails only now and then: without the failure in so many runs it counts as fine; 1 unless told
--watchdog S   a step that takes longer is a hang; 60 unless told
--plant KIND   see Soak.cpp

Under tools/with-display.sh and tools/with-wine.sh, with PELLORA_BIN and PELLORA_TEST_MEDIA set. Ends with the program's
status: 0, or the kind of the failure.
"""

import argparse
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
FAILURE = re.compile(r"^FAILURE (\d+) in (.*?): (.*)$", re.MULTILINE)
# Beyond the watchdog's time: the beginning, the end, and steps that are slow without being hung.
PATIENCE = 900


class Run:
    """One run of the program, and how it failed, if it did."""

    def __init__(self, status, output):
        self.status = status
        self.output = output
        found = FAILURE.search(output)
        self.text = found[0] if found else f"ended with {status}"
        self.place = found[2] if found else ""
        self.what = found[3] if found else ""

    def step(self):
        """The number of the step that failed; None for failures at the end."""
        found = re.search(r"step (\d+)", self.place)
        return int(found[1]) if found else None

    def is_like(self, other):
        """Whether it is the same failure: its kind, and what crashed or was wrong, whatever the step."""
        def essence(run):
            if run.status == 4:  # a crash: the innermost places, as long as they are the libraries' own
                return re.sub(r"soak\.exe\S*", "soak.exe", " ".join(run.what.split()[:5]))
            return re.sub(r"\d+", "#", run.what) if run.status in (1, 6) else ""
        return self.status == other.status and essence(self) == essence(other)


class Program:
    def __init__(self, program, watchdog, plant, seconds=0):
        self.command = [str(ROOT / "tools" / "wine-run.sh"), program]
        self.options = ["--watchdog", str(watchdog)] + (["--plant", plant] if plant else [])
        self.seconds = seconds

    def list(self, options):
        return [line for line in self.start(["--list", *options]).output.splitlines() if line and not line.startswith("#")]

    def run(self, options):
        return self.start([*options, *self.options])

    def start(self, options):
        # A file, since Wine's own services outlive the program and would hold a pipe.
        with tempfile.TemporaryFile() as output:
            ended = subprocess.run([*self.command, *options], stdout=output, stderr=subprocess.STDOUT,
                                   stdin=subprocess.DEVNULL, timeout=PATIENCE + self.seconds, check=False)
            output.seek(0)
            return Run(ended.returncode, output.read().decode("utf-8", "replace").replace("\r", ""))

    def replay(self, steps, leaks):
        with tempfile.NamedTemporaryFile("w", suffix=".steps") as file:
            file.write("\n".join(steps) + "\n")
            file.flush()
            return self.run(["--replay", file.name] + ([] if leaks else ["--no-leaks"]))


def shrink(steps, fails):
    """Delta debugging: leaves out ever smaller parts as long as what is left still fails."""
    parts = 2
    while len(steps) > 1:
        size = -(-len(steps) // parts)
        for begin in range(0, len(steps), size):
            rest = steps[:begin] + steps[begin + size:]
            if rest and fails(rest):
                steps = rest
                parts = max(parts - 1, 2)
                break
        else:
            if size == 1:
                break
            parts = min(parts * 2, len(steps))
    return steps


def shrunk(program, steps, failure, tries):
    """The steps that are left of those that failed; None where they do not fail again."""
    leaks = failure.status == 5
    count = 0

    def fails(candidate):
        nonlocal count
        count += 1
        return any(program.replay(candidate, leaks).is_like(failure) for _ in range(tries))

    if not fails(steps):
        return None
    left = shrink(steps, fails)
    print(f"{len(left)} of {len(steps)} steps are left after {count} runs:")
    return left


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--steps", default="0-999")
    parser.add_argument("--replay")
    parser.add_argument("--seconds", type=int, default=0)
    parser.add_argument("--shrink", action="store_true")
    parser.add_argument("--out")
    parser.add_argument("--tries", type=int, default=1)
    parser.add_argument("--watchdog", type=int, default=60)
    parser.add_argument("--plant", default="")
    arguments = parser.parse_args()

    program = Program(arguments.program, arguments.watchdog, arguments.plant, arguments.seconds)
    source = ["--replay", arguments.replay] if arguments.replay else ["--seed", str(arguments.seed), "--steps", arguments.steps]
    run = program.run(source + (["--seconds", str(arguments.seconds)] if arguments.seconds else []))
    print(run.output, end="")
    if run.status == 0:
        return 0
    if not arguments.replay:
        print(f"Again: tests/soak/soak.py {arguments.program} --seed {arguments.seed} --steps {arguments.steps} --shrink")
    if arguments.shrink:
        steps = program.list(source)
        if run.step() is not None:
            first = 1 if arguments.replay else int(arguments.steps.split("-")[0])
            steps = steps[:run.step() - first + 1]
        left = shrunk(program, steps, run, arguments.tries)
        if left is None:
            print("The same steps do not fail again: --tries 5 looks more often.")
        else:
            print("\n".join(left))
            if arguments.out:
                Path(arguments.out).write_text("\n".join(left) + "\n", encoding="utf-8")
    return run.status


if __name__ == "__main__":
    sys.exit(main())
