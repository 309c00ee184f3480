#!/usr/bin/env python3
"""Tells where the threads of a Windows program under Wine stand, a line each, so that one that hangs tells why.

    tools/stacks.py NAME.exe [--after SECONDS --while PID]

NAME.exe  as Wine calls the program; all that are called so are told of
--after   waits so long first, and tells nothing if the process PID of Linux has ended by then

The program is stopped meanwhile, and goes on afterwards. Needs the program's WINEPREFIX.
"""

import argparse
import os
import re
import subprocess
import sys
import time
from pathlib import Path

WINE = Path(__file__).resolve().parent / "wine64.sh"
# Of the debugger, which waits for ever for a program whose loader is what hangs.
LONGEST_SECONDS = 60
MOST_FRAMES = 16
PROCESS = re.compile(r"^=?([0-9a-f]+) (.+?)(?: \(D\))?$")
THREAD = re.compile(r"^\t([0-9a-f]+) +-?\d+ +(.*)$")
STACK_OF = re.compile(r"^0x([0-9a-f]+)$")
FRAME = re.compile(r"^(?:=>| +)\d+ 0x[0-9a-f]+ (.+)$")
NAMELESS = re.compile(r"^in (\S+) \((\+0x[0-9a-f]+)\)")
NAMED = re.compile(r"^([^+(\s]+).* in (\S+) \(")
# Every thread's first ones.
ROOTS = ("BaseThreadInitThunk", "RtlUserThreadStart", "__wine_pop_frame")


def debugger(*commands):
    """What Wine's debugger answers."""
    environment = {**os.environ, "WINEDEBUG": "-all", "DISPLAY": ""}
    try:
        done = subprocess.run([WINE, "winedbg", "--command", "\n".join([*commands, "quit"])], env=environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              timeout=LONGEST_SECONDS)
        return done.stdout.decode(errors="replace")
    except subprocess.TimeoutExpired as late:
        return (late.stdout or b"").decode(errors="replace")


def threads(text, name):
    """Of each process that is called so: its threads' numbers, and the names that they have given themselves."""
    told = {}
    own = None
    for line in text.splitlines():
        process = PROCESS.match(line)
        thread = THREAD.match(line)
        if process:
            own = told.setdefault(process[1], {}) if process[2].lower() == name.lower() else None
        elif thread and own is not None:
            own[thread[1]] = thread[2].strip(" =")
    return told


def place(frame):
    nameless = NAMELESS.match(frame)
    if nameless:
        return nameless[1] + nameless[2]
    named = NAMED.match(frame)
    return f"{named[1]} ({named[2]})" if named else None


def stacks(text):
    """Of what the debugger tells: each thread's number and its frames, the innermost first."""
    told = {}
    thread = None
    for line in text.splitlines():
        begin = STACK_OF.match(line)
        frame = FRAME.match(line)
        if begin:
            thread = told.setdefault(int(begin[1], 16), [])
        elif frame and thread is not None:
            where = place(frame[1])
            if where and not where.startswith(ROOTS):
                thread.append(where)
    return told


def tell(name):
    found = threads(debugger("info threads"), name)
    if not found:
        return [f"no program {name} runs"]
    lines = []
    for process, names in found.items():
        lines.append(f"where the threads of {name} ({process}) stand, innermost first:")
        # The number before each, since a stack does not tell whose it is.
        commands = [command for thread in names for command in (f"print 0x{thread}", f"bt 0x{thread}")]
        for thread, frames in stacks(debugger(f"attach 0x{process}", *commands, "detach")).items():
            lines.append(f"  {thread:04x} {names.get(f'{thread:08x}', '')}: " + " < ".join(frames[:MOST_FRAMES]))
    return lines


def waited(seconds, process):
    """Whether the process is there for so long."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        time.sleep(min(1.0, max(0.0, end - time.monotonic())))
        if not Path(f"/proc/{process}").exists():
            return False
    return True


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("name")
    arguments.add_argument("--after", type=float, default=0)
    arguments.add_argument("--while", type=int, dest="process", default=os.getpid())
    chosen = arguments.parse_args()
    if waited(chosen.after, chosen.process):
        print("\n".join(tell(chosen.name)), flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
