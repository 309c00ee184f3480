#!/usr/bin/env python3
"""Runs clang-tidy over what the presets compile: tools/tidy.py [FILE…]

The Windows sources are read with mingw's own headers; what only the native preset compiles, with the machine's.
Any finding is a failure. A file that has not changed since it was found clean, with all it includes, is not read
again: build/tidy remembers the hash of its preprocessed text.
"""

import concurrent.futures
import hashlib
import json
import os
import shlex
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
MEMORY = ROOT / "build" / "tidy"


def mingw_arguments():
    """What makes clang read mingw's headers: its target and gcc's own C++ folders, in gcc's order."""
    probe = subprocess.run(["x86_64-w64-mingw32-g++-posix", "-E", "-x", "c++", "-v", os.devnull], capture_output=True,
                           text=True, check=True).stderr
    folders = probe.split("#include <...> search starts here:")[1].split("End of search list")[0].split()
    # gcc's own intrinsics and stddef are not for clang, which has its own.
    folders = [f for f in folders if not f.rstrip("/").endswith(("/include-fixed",)) and "c++" in f or "mingw32/include" in f]
    return ["--target=x86_64-w64-windows-gnu", "-nostdinc++"] + [a for f in folders for a in ("-isystem", f)]


def entries():
    seen = set()
    for preset, extra in (("mingw-release", mingw_arguments()), ("linux-asan", [])):
        commands = ROOT / "build" / preset / "compile_commands.json"
        if not commands.exists():
            sys.exit(f"{commands} is missing; build the preset {preset} first (./test.sh does).")
        for entry in json.loads(commands.read_text()):
            path = Path(entry["file"])
            generated = (ROOT / "build") in path.parents or ROOT not in path.parents
            if generated or path in seen:
                continue
            seen.add(path)
            yield path, entry, extra


def preprocessed_hash(entry):
    words = shlex.split(entry["command"])
    words = [w for i, w in enumerate(words) if w not in ("-c",) and words[i - 1] != "-o" and w != "-o"]
    run = subprocess.run(words + ["-E", "-P"], cwd=entry["directory"], capture_output=True)
    return hashlib.sha256(run.stdout + (ROOT / ".clang-tidy").read_bytes()).hexdigest() if run.returncode == 0 else ""


def check(path, entry, extra):
    digest = preprocessed_hash(entry)
    memory = MEMORY / hashlib.sha256(str(path.relative_to(ROOT)).encode()).hexdigest()
    if digest and memory.exists() and memory.read_text() == digest:
        return path, True, ""
    words = shlex.split(entry["command"])[1:]
    arguments = []
    skip = False
    for word in words:
        if skip or word in ("-c", str(path)):
            skip = False
        elif word == "-o":
            skip = True
        elif not word.startswith(("-gdwarf", "-fno-keep-inline-dllexport", "-fsanitize", "-fno-sanitize", "-Werror")):
            arguments.append(word)
    # GoogleTest's macros make the path-sensitive analysis of a test take longer than that of all it tests.
    checks = ["--checks=-clang-analyzer-*"] if "tests" in path.relative_to(ROOT).parts else []
    run = subprocess.run(["clang-tidy", "--quiet", "--warnings-as-errors=*", *checks, str(path), "--"] + extra + arguments +
                         ["-Qunused-arguments", "-Wno-unknown-warning-option"],
                         cwd=entry["directory"], capture_output=True, text=True)
    clean = run.returncode == 0
    if clean and digest:
        MEMORY.mkdir(parents=True, exist_ok=True)
        memory.write_text(digest)
    return path, clean, run.stdout + ("" if clean else run.stderr)


def main():
    only = {Path(a).resolve() for a in sys.argv[1:]}
    work = [e for e in entries() if not only or e[0] in only]
    failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for path, clean, output in pool.map(lambda e: check(*e), work):
            if not clean:
                failures += 1
                print(f"{path.relative_to(ROOT)}:\n{output}")
    print(f"{len(work)} files, {failures} with findings.")
    return 1 if failures or not work else 0


if __name__ == "__main__":
    sys.exit(main())
