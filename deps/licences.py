#!/usr/bin/env python3
"""Lays the licences of the third-party libraries into a folder: deps/licences.py FOLDER

The texts of deps/licences.tsv, out of the pinned sources (fetched where they are not in the cache); our patches; and
SOURCES.txt, which says where the sources are had that whoever passes the libraries on has to offer.
"""

import shutil
import subprocess
import sys
import tarfile
from pathlib import Path

sys.dont_write_bytecode = True  # the checkout holds sources only
import build  # noqa: E402

HEAD = """Where the sources of the third-party libraries are
==================================================

All DLLs that are not Pellora's own are built from these files of Debian's archive, by the recipes in the folder deps of
Pellora's sources. snapshot.debian.org keeps each of them; its page is named. The patches beside this file are applied
where they are named. Besides, the recipes touch only the rules by which the libraries are built.

"""
# Debian's packages of the compiler's run-time libraries, which are taken as they are.
RUNTIME = [("gcc run-time libraries", "gcc-mingw-w64-x86-64-posix-runtime"), ("winpthreads", "mingw-w64-x86-64-dev")]


def rows():
    for line in (build.ROOT / "licences.tsv").read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            yield line.split("\t")


def extract(tarballs, wanted, folder):
    """Copies files out of a dependency's tarballs: their paths below the top folder, to the names wanted for them."""
    left = dict(wanted)
    for tarball in tarballs:
        if not left:
            break
        with tarfile.open(tarball) as archive:
            for member in archive:
                path = member.name.partition("/")[2]
                if path in left and member.isfile():
                    target = folder / left.pop(path)
                    target.parent.mkdir(parents=True, exist_ok=True)
                    target.write_bytes(archive.extractfile(member).read())
                if not left:
                    break
    if left:
        raise build.BuildError(f"No {', '.join(left)} in {', '.join(str(t) for t in tarballs)}; see deps/licences.tsv.")


def patches_of(dependency):
    text = (build.RECIPES / f"{dependency}.sh").read_text(encoding="utf-8")
    return [path for path in sorted((build.ROOT / "patches").iterdir()) if f"/patches/{path.name}" in text]


def describe(dependencies, sources):
    parts = [HEAD]
    for dependency in dependencies:
        first = sources[dependency][0]
        parts.append(f"{dependency} {first.version}\n    https://snapshot.debian.org/package/{first.package}/{first.debian}/\n")
        for source in sources[dependency]:
            parts.append(f"    {source.file}\n        SHA-256 {source.sha256}\n")
        for patch in patches_of(dependency):
            parts.append(f"    with patches/{patch.name}\n")
        parts.append("\n")
    for name, package in RUNTIME:
        shown = subprocess.run(["dpkg-query", "-W", "-f", "${source:Package} ${source:Version}", package],
                               capture_output=True, text=True, check=True).stdout.split()
        parts.append(f"{name}\n    https://snapshot.debian.org/package/{shown[0]}/{shown[1]}/\n\n")
    return "".join(parts)


def main():
    folder = Path(sys.argv[1])
    sources = build.read_sources()
    fetcher = build.Sources()
    shutil.rmtree(folder, ignore_errors=True)
    dependencies = []
    for dependency, _, _ in rows():
        if dependency != "system" and dependency not in dependencies:
            dependencies.append(dependency)
    for dependency in dependencies:
        wanted = {path: name for owner, path, name in rows() if owner == dependency}
        tarballs = [fetcher.fetch(source) for source in sources[dependency] if ".tar." in source.file]
        extract(tarballs, wanted, folder)
        for patch in patches_of(dependency):
            (folder / "patches").mkdir(exist_ok=True)
            shutil.copyfile(patch, folder / "patches" / patch.name)
    for owner, path, name in rows():
        if owner == "system":
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, folder / name)
    (folder / "SOURCES.txt").write_text(describe(dependencies, sources), encoding="utf-8")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (build.BuildError, OSError) as error:
        print(f"ERROR: {error}", file=sys.stderr)
        sys.exit(1)
