#!/usr/bin/env python3
"""Runs clang-tidy over what the presets compile: tools/tidy.py [FILE…]

The Windows sources are read with mingw's own headers; what only the native presets compile, with the machine's.
Any finding is a failure. A file that was found clean is not read again until it, a file that it includes, the
configuration, the arguments or clang-tidy changes, in this checkout or in another one: the cache beside the
dependencies (PELLORA_CACHE) remembers the contents that were clean.
"""

import concurrent.futures
import contextlib
import functools
import gzip
import hashlib
import json
import os
import shlex
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
MEMORY = Path(os.environ.get("PELLORA_CACHE") or Path.home() / ".cache" / "pellora") / "tidy"
# Contents of a file and its includes that are remembered as clean: of several branches and checkouts. What nobody asked
# for in so many days, such as what an older configuration found, is forgotten.
REMEMBERED = 8
DAYS = 30


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
    for preset, extra in (("mingw-release", mingw_arguments()), ("linux-asan", []), ("linux-fuzz", [])):
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


def compiler_and_arguments(entry, path):
    """The compiler, without what starts it, and its arguments without the files that it reads and writes."""
    words = shlex.split(entry["command"])
    first = next(i for i, word in enumerate(words) if Path(word).name.endswith(("gcc-posix", "g++-posix", "cc", "c++", "clang", "clang++")))
    arguments = []
    skip = False
    for word in words[first + 1:]:
        if skip or word in ("-c", str(path)):
            skip = False
        elif word == "-o":
            skip = True
        else:
            arguments.append(word)
    return words[first], arguments


def tidy_command(path, arguments, extra):
    arguments = [a for a in arguments if not a.startswith(("-gdwarf", "-fno-keep-inline-dllexport", "-fsanitize",
                                                           "-fno-sanitize", "-ffile-prefix-map", "-Werror"))]
    # GoogleTest's macros make the path-sensitive analysis of a test take longer than that of all it tests, and a test
    # is as long as what it tells.
    checks = ["--checks=-clang-analyzer-*,-readability-function-size"] if "tests" in path.relative_to(ROOT).parts else []
    return ["clang-tidy", "--quiet", "--warnings-as-errors=*", *checks, str(path), "--", *extra, *arguments,
            "-Qunused-arguments", "-Wno-unknown-warning-option"]


@functools.lru_cache(None)
def digest(path):
    try:
        return hashlib.sha256(path.read_bytes()).hexdigest()
    except OSError:
        return ""


@functools.lru_cache(None)
def tool():
    version = subprocess.run(["clang-tidy", "--version"], capture_output=True, text=True, check=True).stdout
    # A header is judged by its own folder's configuration, whoever includes it.
    return version + "".join(p.read_text() for p in [ROOT / ".clang-tidy", *sorted(ROOT.glob("*/.clang-tidy"))])


def memory_of(command):
    """The folder that remembers this file's clean contents. It names no place on this machine."""
    text = tool() + json.dumps(command).replace(str(ROOT), ".")
    return MEMORY / hashlib.sha256(text.encode()).hexdigest()


def inputs(compiler, arguments, path, folder):
    """The file and all that it includes, with the digests of their contents; empty if it does not compile."""
    run = subprocess.run([compiler, *arguments, "-M", str(path)], cwd=folder, capture_output=True, text=True)
    if run.returncode != 0:
        return ""
    files = shlex.split(run.stdout.replace("\\\n", " ").partition(":")[2])
    paths = {Path(os.path.normpath(Path(folder) / file)) for file in files}
    return "".join(sorted(f"{digest(p)} {os.path.relpath(p, ROOT) if ROOT in p.parents else p}\n" for p in paths))


def is_clean(memory):
    for remembered in memory.glob("*.gz"):
        lines = gzip.decompress(remembered.read_bytes()).decode().splitlines()
        if all(digest(ROOT / line[65:]) == line[:64] for line in lines):
            remembered.touch()
            return True
    return False


def remember(memory, text):
    target = memory / (hashlib.sha256(text.encode()).hexdigest() + ".gz")
    half = target.with_suffix(f".{os.getpid()}")
    memory.mkdir(parents=True, exist_ok=True)
    half.write_bytes(gzip.compress(text.encode(), 3))
    half.rename(target)
    for old in sorted(memory.glob("*.gz"), key=lambda f: f.stat().st_mtime)[:-REMEMBERED]:
        old.unlink(missing_ok=True)


def forget():
    oldest = time.time() - DAYS * 24 * 3600
    for remembered in MEMORY.glob("*/*"):
        if remembered.stat().st_mtime < oldest:
            remembered.unlink(missing_ok=True)
    for folder in MEMORY.glob("*"):
        with contextlib.suppress(OSError):  # not empty
            folder.rmdir()


def check(path, entry, extra):
    """Whether the file was read, whether it is clean, and what clang-tidy said."""
    compiler, arguments = compiler_and_arguments(entry, path)
    command = tidy_command(path, arguments, extra)
    memory = memory_of(command)
    if is_clean(memory):
        return path, False, True, ""
    text = inputs(compiler, arguments, path, entry["directory"])
    run = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True)
    clean = run.returncode == 0
    if clean and text:
        remember(memory, text)
    return path, True, clean, run.stdout + ("" if clean else run.stderr)


def main():
    only = {Path(a).resolve() for a in sys.argv[1:]}
    forget()
    work = [e for e in entries() if not only or e[0] in only]
    read = failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for path, was_read, clean, output in pool.map(lambda e: check(*e), work):
            read += was_read
            if not clean:
                failures += 1
                print(f"{path.relative_to(ROOT)}:\n{output}", flush=True)
    print(f"{len(work)} files, {read} of them read, {failures} with findings.")
    return 1 if failures or not work else 0


if __name__ == "__main__":
    sys.exit(main())
