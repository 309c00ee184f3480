#!/usr/bin/env python3
"""Builds the third-party libraries from Debian's source packages into a cache outside the checkout.

    deps/build.py                  what the Windows build needs
    deps/build.py --native         also what the native sanitizer builds need
    deps/build.py --list           names, versions and whether each is built

Each dependency is one recipe, deps/recipes/NAME.sh, with the functions `configure`, `build` and `install`.
Its key is a hash of the recipe, of the patches that it applies (deps/patches), of deps/recipes/common.sh and the
shims, of its pinned sources, of the compiler's version and of the keys of what it needs; a changed recipe or patch
therefore rebuilds itself and whatever stands on it, and nothing else. A finished build carries a stamp written last, so an interrupted one is never
taken for whole; its build folder is kept, and the next run goes on there.

Environment: PELLORA_CACHE (default ~/.cache/pellora); PELLORA_SOURCES, a folder of tarballs that is looked
in before Debian's mirror is asked; PELLORA_JOBS (default: all cores).
"""

import argparse
import concurrent.futures
import contextlib
import fcntl
import hashlib
import os
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent
RECIPES = ROOT / "recipes"
CACHE = Path(os.environ.get("PELLORA_CACHE") or Path.home() / ".cache" / "pellora")
JOBS = int(os.environ.get("PELLORA_JOBS") or os.cpu_count() or 2)
KEYRING = "/usr/share/keyrings/debian-archive-keyring.gpg"

# Two recipes at a time: while one configures, which is work for one core, the other compiles.
PARALLEL_RECIPES = 2

# Longest first: whatever stands on nothing and takes long must not be left for the end.
WINDOWS = ["qt", "ffmpeg", "dav1d", "expat", "apr", "apr-util", "log4cxx", "libjpeg-turbo", "libyuv",
           "pugixml", "googletest", "benchmark"]
NATIVE = ["ffmpeg-native"]


# How often a build that takes long says how far it is.
PROGRESS_SECONDS = 30
# What the builds take that do not count themselves, as make's; only the estimate stands on it. Ninja counts its own.
EXPECTED_STEPS = {"qt": 854, "ffmpeg": 613, "ffmpeg-native": 601}
COMPILER_STEP = re.compile(r"^(?:\S*(?:gcc|g\+\+) .*-c |(?:CC|CXX|X86ASM|WINDRES)\t)", re.MULTILINE)
NINJA_STEP = re.compile(r"^\[(\d+)/(\d+)\] ", re.MULTILINE)


class BuildError(Exception):
    """One paragraph for the person at the keyboard."""


class Source:
    def __init__(self, fields):
        (self.dependency, self.version, self.package, self.debian, self.suite, self.file, self.sha256) = fields


def read_sources():
    table = {}
    for line in (ROOT / "sources.tsv").read_text().splitlines():
        if line and not line.startswith("#"):
            source = Source(line.split("\t"))
            table.setdefault(source.dependency, []).append(source)
    return table


def sha256_of(path):
    digest = hashlib.sha256()
    with open(path, "rb") as stream:
        for block in iter(lambda: stream.read(1 << 20), b""):
            digest.update(block)
    return digest.hexdigest()


def compiler_version(compiler):
    try:
        return subprocess.run([compiler, "-v"], capture_output=True, text=True, check=True).stderr
    except (OSError, subprocess.CalledProcessError) as error:
        raise BuildError(f"The compiler {compiler} does not run ({error}). ./demo.sh and ./test.sh install it.") from error


class Recipe:
    """One dependency: where its recipe, sources, build folder and result are."""

    def __init__(self, name, sources):
        self.name = name
        self.path = RECIPES / f"{name}.sh"
        self.text = self.path.read_text()
        self.needs = self._setting("needs").split()
        self.sources = sources.get(self._setting("source") or name, [])
        self.version = self.sources[0].version if self.sources else self._setting("version")
        self.native = name.endswith("-native")
        self.key = None

    def _setting(self, setting):
        match = re.search(rf'^{setting}="([^"]*)"', self.text, re.MULTILINE)
        return match.group(1) if match else ""

    def compute_key(self, recipes, common):
        digest = hashlib.sha256(common.encode())
        digest.update(compiler_version("gcc" if self.native else "x86_64-w64-mingw32-g++-posix").encode())
        digest.update(self.text.encode())
        for part in re.findall(r'^\. "\$DEPS/recipes/(\S+)"$', self.text, re.MULTILINE):
            digest.update((RECIPES / part).read_bytes())
        for patch in re.findall(r'"\$DEPS/patches/([^"]+)"', self.text):
            digest.update((ROOT / "patches" / patch).read_bytes())
        for source in self.sources:
            digest.update(source.sha256.encode())
        for need in self.needs:
            digest.update(recipes[need].key.encode())
        self.key = digest.hexdigest()[:16]

    @property
    def prefix(self):
        return CACHE / "built" / f"{self.name}-{self.version}-{self.key}"

    @property
    def work(self):
        return CACHE / "work" / f"{self.name}-{self.version}-{self.key}"

    @property
    def log(self):
        return CACHE / "logs" / f"{self.name}.log"

    def done(self):
        return (self.prefix / ".complete").exists()

    def steps(self):
        """The compiler's steps in the log so far, and how many there will be, or None where nobody knows."""
        text = self.log.read_text(errors="replace") if self.log.exists() else ""
        # Ninja counts anew after an interruption, what is left to do.
        counted = NINJA_STEP.findall(text.rpartition(f"==== {self.name} {self.version}, key")[2])
        if counted:
            return int(counted[-1][0]), int(counted[-1][1])
        return len(COMPILER_STEP.findall(text)), EXPECTED_STEPS.get(self.name)


class Sources:
    """Fetches pinned files with apt, which checks them against the signed index; the sum is checked besides."""

    def __init__(self):
        self.folder = CACHE / "sources"
        self.folder.mkdir(parents=True, exist_ok=True)
        self._apt = CACHE / "apt"
        self._lock = threading.Lock()
        self._environment = None

    def fetch(self, source):
        target = self.folder / source.file
        if target.exists() and sha256_of(target) == source.sha256:
            return target
        given = os.environ.get("PELLORA_SOURCES")
        if given and (Path(given) / source.file).exists():
            found = Path(given) / source.file
            if sha256_of(found) != source.sha256:
                raise BuildError(f"{found} is not the file that is wanted: its SHA-256 is not {source.sha256}.")
            shutil.copyfile(found, target)
            return target
        with self._lock:
            trouble = self._download(source)
        if target.exists() and sha256_of(target) == source.sha256:
            return target
        what = f"it has another SHA-256, {sha256_of(target)}" if target.exists() else f"it did not come: {trouble}"
        target.unlink(missing_ok=True)
        raise BuildError(
            f"{source.file} of {source.package} {source.debian} ({source.suite}) could not be had from Debian's "
            f"mirror: {what}. Put the file with the SHA-256 {source.sha256} into a folder and name that folder in "
            f"PELLORA_SOURCES.")

    def _download(self, source):
        environment = self._prepare()
        names = subprocess.run(["apt-cache", "showsrc", source.package], env=environment, capture_output=True, text=True)
        upstream = source.debian.split(":")[-1].rsplit("-", 1)[0]
        listed = re.findall(r"^Version: (\S+)$", names.stdout, re.MULTILINE)
        # Debian's revision may have moved on while upstream's tarball is still the same file.
        alike = [v for v in listed if v.split(":")[-1].rsplit("-", 1)[0] == upstream and v != source.debian]
        whole = source.file.endswith((".dsc", ".debian.tar.xz"))
        trouble = "the mirror does not list it"
        for version in [source.debian] + ([] if whole else alike):
            command = ["apt-get", "source", "--download-only", "-q", f"{source.package}={version}"]
            if not any(s.file.endswith(".dsc") for s in read_sources()[source.dependency]):
                command.insert(2, "--tar-only")
            run = subprocess.run(command, cwd=self.folder, env=environment, capture_output=True, text=True)
            if run.returncode == 0 and (self.folder / source.file).exists():
                return ""
            trouble = (run.stderr.strip().splitlines() or ["apt-get gave no reason"])[-1]
        return trouble

    def _prepare(self):
        if self._environment:
            return self._environment
        etc = self._apt / "etc"
        for folder in ("sources.list.d", "preferences.d", "apt.conf.d", "trusted.gpg.d"):
            (etc / folder).mkdir(parents=True, exist_ok=True)
        (self._apt / "state" / "lists" / "partial").mkdir(parents=True, exist_ok=True)
        (self._apt / "cache" / "archives" / "partial").mkdir(parents=True, exist_ok=True)
        (self._apt / "state" / "status").write_text("")
        uris = subprocess.run(["apt-get", "indextargets", "--format", "$(REPO_URI) $(ORIGIN)"],
                              capture_output=True, text=True).stdout.split("\n")
        mirrors = [u.split()[0] for u in uris if u.endswith(" Debian") and "security" not in u]
        if not mirrors:
            raise BuildError("apt knows no Debian mirror on this machine. Give the files in a folder: PELLORA_SOURCES.")
        mirror = mirrors[0]
        # The sources of newer suites are read, never installed from: hence a configuration of its own. Their
        # Release files grow old between a machine's snapshots; every file is pinned by its sum besides.
        (etc / "sources.list.d" / "sources.sources").write_text(
            f"Types: deb-src\nURIs: {mirror}\nSuites: bookworm trixie sid\nComponents: main\n"
            f"Signed-By: {KEYRING}\nValid-Until-Min: 63072000\n")
        configuration = self._apt / "apt.conf"
        configuration.write_text(
            f'Dir::Etc "{etc}";\nDir::State "{self._apt}/state";\nDir::State::status "{self._apt}/state/status";\n'
            f'Dir::Cache "{self._apt}/cache";\nAPT::Sandbox::User "root";\nAcquire::Languages "none";\n'
            'Acquire::Retries "3";\n')
        environment = dict(os.environ, APT_CONFIG=str(configuration))
        update = subprocess.run(["apt-get", "update", "-q"], env=environment, capture_output=True, text=True)
        if update.returncode != 0:
            reason = (update.stderr.strip().splitlines() or ["no reason given"])[-1]
            raise BuildError(f"Debian's source index could not be read from {mirror}: {reason}")
        self._environment = environment
        return environment


class Builder:
    def __init__(self, names):
        table = read_sources()
        shims = "".join(p.read_text() for p in sorted((ROOT / "shims").iterdir()))
        common = (RECIPES / "common.sh").read_text() + shims
        self.recipes = {}
        for name in WINDOWS + NATIVE:
            self.recipes[name] = Recipe(name, table)
        for name in self._ordered(list(self.recipes)):
            self.recipes[name].compute_key(self.recipes, common)
        self.wanted = [n for n in names]
        self._sources = Sources()
        self._print = threading.Lock()
        self._finished = 0
        # Held while a child is begun and while all are ended, so that none begins unseen.
        self._begin = threading.Lock()
        self._children = set()
        self._stop = threading.Event()

    def _ordered(self, names):
        done = []

        def visit(name):
            for need in self.recipes[name].needs:
                visit(need)
            if name not in done:
                done.append(name)

        for name in names:
            visit(name)
        return done

    def say(self, text):
        with self._print:
            print(text, flush=True)

    def run(self):
        todo = [n for n in self.wanted if not self.recipes[n].done()]
        self._finished = len(self.wanted) - len(todo)
        if not todo:
            self.say(f"Dependencies: all {len(self.wanted)} are built ({CACHE}).")
            return
        self.say(f"Dependencies: {len(todo)} of {len(self.wanted)} to build into {CACHE}, {JOBS} jobs. "
                 f"Logs: {CACHE / 'logs'}")
        # Two checkouts share the cache; the second one waits, and finds the work done.
        with open(CACHE / "lock", "w", encoding="utf-8") as lock:
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError:
                self.say("Another build is filling this cache; waiting for it …")
                fcntl.flock(lock, fcntl.LOCK_EX)
            self._run_all([n for n in todo if not self.recipes[n].done()])

    def _run_all(self, todo):
        began = time.monotonic()
        errors = []
        pending = list(todo)
        running = {}
        with concurrent.futures.ThreadPoolExecutor(PARALLEL_RECIPES) as pool:
            try:
                while (pending or running) and not errors:
                    for name in list(pending):
                        ready = all(self.recipes[need].done() for need in self.recipes[name].needs)
                        if ready and len(running) < PARALLEL_RECIPES:
                            pending.remove(name)
                            running[pool.submit(self._build, self.recipes[name])] = name
                    finished, _ = concurrent.futures.wait(running, return_when=concurrent.futures.FIRST_COMPLETED)
                    for future in finished:
                        del running[future]
                        if future.exception():
                            errors.append(future.exception())
            finally:
                if errors or pending or running:
                    self._terminate()
        for error in errors[:1]:
            raise error
        self.say(f"Dependencies: built in {duration(time.monotonic() - began)}.")

    def _terminate(self):
        with self._begin:
            self._stop.set()
            for child in self._children:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(child.pid, signal.SIGTERM)

    def _refuse_after_the_end(self):
        if self._stop.is_set():
            raise BuildError("Interrupted.")

    def _build(self, recipe):
        began = time.monotonic()
        for source in recipe.sources:
            self._sources.fetch(source)
        self._refuse_after_the_end()
        recipe.log.parent.mkdir(parents=True, exist_ok=True)
        resumed = recipe.work.exists()
        self.say(f"[ … ] {recipe.name} {recipe.version} started" +
                 (" (going on where it was interrupted)" if resumed else ""))
        if recipe.prefix.exists():
            shutil.rmtree(recipe.prefix)  # no stamp: a half-done installation
        recipe.work.mkdir(parents=True, exist_ok=True)
        recipe.prefix.mkdir(parents=True)
        environment = dict(os.environ, RECIPE=str(recipe.path), NAME=recipe.name, VERSION=recipe.version,
                           PREFIX=str(recipe.prefix), WORK=str(recipe.work), JOBS=str(JOBS), DEPS=str(ROOT),
                           FILES=" ".join(str(self._sources.folder / s.file) for s in recipe.sources))
        for need in self.recipes.values():
            if need.name in self._ordered(recipe.needs):
                environment["PREFIX_" + need.name.replace("-", "_")] = str(need.prefix)
        environment["NEED_PREFIXES"] = ";".join(str(self.recipes[n].prefix) for n in self._ordered(recipe.needs))
        # The log is that of one build, with its interruptions: the steps in it are counted.
        with open(recipe.log, "a" if resumed else "w", encoding="utf-8") as log:
            log.write(f"==== {recipe.name} {recipe.version}, key {recipe.key}, {time.ctime()}\n")
            log.flush()
            before = recipe.steps()[0]
            with self._begin:
                self._refuse_after_the_end()
                child = subprocess.Popen(["bash", str(RECIPES / "common.sh")], env=environment,
                                         stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT,
                                         start_new_session=True)
                self._children.add(child)
            code = self._wait(recipe, child, before)
            with self._begin:
                self._children.discard(child)
        if code != 0:
            self._refuse_after_the_end()
            tail = "\n".join("    " + line for line in recipe.log.read_text(errors="replace").splitlines()[-15:])
            raise BuildError(f"{recipe.name} {recipe.version} did not build (exit code {code}). The last lines of its "
                             f"log:\n{tail}\nThe whole log: {recipe.log}\nIts build folder is kept; the next run goes "
                             f"on there. To start it afresh, delete {recipe.work}.")
        (recipe.prefix / ".complete").write_text(recipe.key + "\n")
        shutil.rmtree(recipe.work, ignore_errors=True)
        with self._print:
            self._finished += 1
            print(f"[{self._finished}/{len(self.wanted)}] {recipe.name} {recipe.version} … "
                  f"{duration(time.monotonic() - began)}", flush=True)

    def _wait(self, recipe, child, before):
        """Waits for the end of a recipe, whose log held so many steps before it, and says meanwhile how far it is."""
        began = compiling = time.monotonic()
        while True:
            try:
                return child.wait(PROGRESS_SECONDS)
            except subprocess.TimeoutExpired:
                now = time.monotonic()
            done, total = recipe.steps()
            if done <= before:
                compiling = now
            self.say(f"[ … ] {recipe.name} {recipe.version}: "
                     f"{progress(done, total, done - before, now - compiling)}, {duration(now - began)} so far")

    def write_cmake(self, path):
        """Tells CMake where each dependency is or will be. Rewritten only when it changes, so nothing is rebuilt."""
        lines = ["# Written by deps/build.py."]
        for name in self.recipes:
            variable = "PELLORA_DEP_" + name.upper().replace("-", "_")
            lines.append(f'set({variable} "{self.recipes[name].prefix}")')
        windows = ";".join(str(self.recipes[n].prefix) for n in self.recipes if not self.recipes[n].native)
        lines.append(f'set(PELLORA_WINDOWS_PREFIXES "{windows}")')
        text = "\n".join(lines) + "\n"
        if not path.exists() or path.read_text() != text:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)


def duration(seconds):
    return f"{int(seconds) // 60}:{int(seconds) % 60:02d}"


def progress(done, total, lately, seconds):
    """How far a build is, and how long the rest takes at the pace at which the latest steps were done in these seconds."""
    if lately <= 0:
        return "unpacking and configuring" if done == 0 else f"{done} steps, going on"
    if total is None or done > total:
        return f"{done} steps"
    return f"{done} of {total} steps, about {duration(seconds / lately * (total - done))} to go"


def interrupted(_number, _frame):
    raise KeyboardInterrupt


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--native", action="store_true", help="also what the native sanitizer builds need")
    parser.add_argument("--only", nargs="+", metavar="NAME", help="build these and what they need")
    parser.add_argument("--list", action="store_true", help="print each dependency's state and stop")
    arguments = parser.parse_args()
    # A build in the background, and one whose terminal goes away, must end its compilers too.
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, interrupted)
    try:
        builder = Builder(WINDOWS + (NATIVE if arguments.native else []))
        if arguments.list:
            for recipe in builder.recipes.values():
                print(f"{recipe.name:16} {recipe.version:18} {'built' if recipe.done() else '-':6} {recipe.prefix}")
            return 0
        if arguments.only:
            builder.wanted = builder._ordered(arguments.only)
        builder.run()
        if not arguments.only:
            builder.write_cmake(ROOT.parent / "build" / "dependencies.cmake")
        return 0
    except BuildError as error:
        print(f"\nERROR: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        print("\nInterrupted; the next run goes on where this one stopped.", file=sys.stderr)
        return 130


if __name__ == "__main__":
    sys.exit(main())
