#!/usr/bin/env python3
"""Makes the npm package: pack.py [--release] BUILD-FOLDER TARGET-FOLDER

Lays it out in TARGET-FOLDER/pellora, the library beside the add-on, and has npm pack it. Prints the archive's path.

--release  the libraries of the other package, to which its symbols fit, and its licences: the target pellora_package makes them
"""

import argparse
import json
import os
import re
import shutil
import subprocess
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
OWN = ["Pellora.dll", "Corvane.dll", "Drovel.dll", "Selvikdcm.dll"]
LIBRARY = {".dll", ".properties"}
FOLDERS = ["platforms", "WidgetLayout"]


def strip(files):
    # It writes the time into the files that it makes.
    subprocess.run(["x86_64-w64-mingw32-strip", "--strip-all", *files], env={**os.environ, "SOURCE_DATE_EPOCH": "0"}, check=True)


def lay_out(build, package, release):
    shutil.rmtree(package, ignore_errors=True)
    (package / "pellora").mkdir(parents=True)
    shutil.copytree(HERE / "lib", package / "lib")
    for name in [HERE / "package.json", HERE / "README.md", ROOT / "LICENSE", ROOT / "THIRD_PARTY.md",
                 build / "node" / "pellora.node"]:
        shutil.copy(name, package)
    for part in sorted((build / "bin").iterdir()):
        if part.suffix in LIBRARY and part.name not in OWN:
            shutil.copy(part, package / "pellora")
    for folder in FOLDERS:
        shutil.copytree(build / "bin" / folder, package / "pellora" / folder)
    made = build / "package"
    for name in OWN:
        shutil.copy((made if release else build) / "bin" / name, package / "pellora")
    if release:
        shutil.copytree(made / "licences", package / "licences")
    strip([package / "pellora.node", *([] if release else [package / "pellora" / name for name in OWN])])


def check_version():
    version = json.loads((HERE / "package.json").read_text(encoding="utf-8"))["version"]
    header = (ROOT / "interface" / "PelloraTypes.h").read_text(encoding="utf-8")
    library = re.search(r'PELLORA_VERSION_TEXT "(.*)"', header)[1]
    if version != library:
        raise SystemExit(f"ERROR: hosts/node/package.json says version {version}, and the library's is {library}.")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--release", action="store_true", help=argparse.SUPPRESS)
    parser.add_argument("build", type=Path)
    parser.add_argument("target", type=Path)
    options = parser.parse_args()
    build, target = options.build.resolve(), options.target.resolve()
    check_version()
    lay_out(build, target / "pellora", options.release)
    done = subprocess.run(["npm", "pack", "--json", "--offline", "--pack-destination", target], cwd=target / "pellora",
                          capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit(f"ERROR: npm pack: {done.stderr}")
    print(target / json.loads(done.stdout)[0]["filename"])


if __name__ == "__main__":
    main()
