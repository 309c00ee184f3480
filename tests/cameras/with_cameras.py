#!/usr/bin/python3
"""Runs a Windows program beside the test bed of cameras, and afterwards searches what it wrote for credentials:

    with_cameras.py PROGRAM [ARGUMENT…]

The program finds the bed's control port in PELLORA_CAMERAS, and in PELLORA_CAMERA_LOGS a folder for its log files.
The exit code is the program's, or 1 where a password, a user with one, or an address with credentials stands in its
output, in a file of that folder, or in the log beside the library (PELLORA_BIN).
"""

import base64
import ctypes
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import urllib.parse
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
USER = "viewer"
PASSWORDS = ["s3cret/w@rd", "wr0ng-s3cret"]


def secrets():
    """Every spelling in which a secret may slip out, and an address with anything but stars before its host."""
    for password in PASSWORDS:
        yield re.escape(password)
        yield re.escape(urllib.parse.quote(password, safe=""))
        yield re.escape(base64.b64encode(f"{USER}:{password}".encode()).decode().rstrip("="))
    yield re.escape(USER) + ":"
    yield r"(?:rtsps?|https?|onvif)://(?!\*\*\*@)[^\s/]*@"


def leaks(name, content):
    pattern = re.compile("|".join(secrets()).encode())
    for number, line in enumerate(content.splitlines(), 1):
        if pattern.search(line):
            yield f"{name}:{number}: {line.decode(errors='replace')}"


def end_with_parent():
    """A test runner that gives up kills only its own child."""
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)


def run(arguments, folder):
    with subprocess.Popen(["/usr/bin/python3", str(HERE / "camera_bed.py"), str(ROOT / "build" / "media" / "cameras")],
                          stdout=subprocess.PIPE) as bed:
        try:
            environment = dict(os.environ, PELLORA_CAMERAS=bed.stdout.readline().decode().strip(),
                               PELLORA_CAMERA_LOGS="Z:" + folder,
                               PELLORA_TEST_MEDIA=str(ROOT / "build" / "media"))
            environment.pop("PELLORA_KEEP_OUTPUT", None)
            # A file, since Wine's own services outlive the program and would hold a pipe open.
            with open(Path(folder) / "output", "wb") as output:
                return subprocess.run([str(ROOT / "tools" / "wine-run.sh"), *arguments], env=environment,
                                      stdout=output, stderr=subprocess.STDOUT, check=False,
                                      preexec_fn=end_with_parent).returncode
        finally:
            bed.terminate()


def main():
    with tempfile.TemporaryDirectory() as folder:
        status = run(sys.argv[1:], folder)
        files = sorted(path for path in Path(folder).rglob("*") if path.is_file() and path.suffix != ".ppm")
        files += sorted(Path(os.environ.get("PELLORA_BIN", Path(sys.argv[1]).parent)).glob("addon.log*"))
        files = [path for path in files if path.name != "addon.log4cxx.properties"]
        sys.stdout.buffer.write((Path(folder) / "output").read_bytes())
        for path in Path(folder).glob("*.ppm"):
            print("What was on the screen:", shutil.copy(path, ROOT / "build"))
        found = [leak for path in files for leak in leaks(path.name, path.read_bytes())]
        print(f"Searched for secrets: {', '.join(f'{path.name} ({path.stat().st_size} bytes)' for path in files)}")
        for leak in found:
            print("A secret has slipped out:", leak)
        return 1 if found else status


if __name__ == "__main__":
    sys.exit(main())
