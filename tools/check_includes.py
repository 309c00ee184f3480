#!/usr/bin/env python3
"""Fails on an include that points up, on one that names a file relative to its own folder, and on a header's guard
that does not follow its path.

The table below is the architecture: what each folder may include. Usage: tools/check_includes.py [ROOT]
"""

import re
import sys
from pathlib import Path

# Folder: the project's folders whose headers it may include, besides its own.
MAY_INCLUDE = {
    "base": [],
    "gdi": [],
    "ffmpeg": [],
    "companion": [],
    "player": ["companion", "ffmpeg", "gdi"],
    "device": ["companion", "ffmpeg"],
    "logging": ["base"],
    "threadpool": ["logging"],
    "preview": ["threadpool", "logging", "base", "device"],
    "rules": ["base", "gdi"],
    "Drovel": ["player", "base", "logging"],
    "VideoWindow": ["preview", "Drovel", "rules", "threadpool", "logging", "base", "player", "device"],
    "interface": ["VideoWindow", "preview", "Drovel", "rules", "threadpool", "logging", "base", "player", "device"],
    # A host sees the public headers and nothing else.
    "hosts": ["interface", "device"],
}
# What tries the whole may look into all of it.
MAY_INCLUDE["tests"] = list(MAY_INCLUDE)[:-1]
MAY_INCLUDE["bench"] = ["tests", *MAY_INCLUDE["tests"]]
# Who may name a companion's public header. Its other headers are its own business.
PUBLIC = {"player": ["Kavun.h"], "device": ["Selvikdcm.h"], "interface": ["Pellora.h", "PelloraTypes.h", "Pellora_load.h", "Pellora.hpp", "Pellora_events.hpp",
                        "Pellora_pane.hpp"]}
# Layers whose tests may use everything.
THROUGH_EXPORTS = {"preview", "Drovel", "VideoWindow", "interface"}
HEADERS = {".h", ".hpp"}
SOURCES = {*HEADERS, ".c", ".cpp"}


def owners_of_headers(root):
    """Every way in which a header may be named, and the folder that owns it."""
    # Public headers lie beside each other wherever hosts put them, and include each other so.
    owners = {name: folder for folder, names in PUBLIC.items() for name in names}
    for folder in MAY_INCLUDE:
        for header in (path for path in (root / folder).rglob("*") if path.suffix in HEADERS):
            owners[str(header.relative_to(root))] = folder
            include = root / folder / "include"
            if include in header.parents:
                owners[str(header.relative_to(include))] = folder
    return owners


def guard_problem(path, root, guards):
    """What is wrong with a header's guard, or None. `guards` collects whose is which.

    A guard is made of the folder, of folders on the way if need be, and of the file: PLAYER_CORE_PORT_H, PLAYER_PORT_H.
    A public header's is its name alone, since hosts do not have the folders.
    """
    words = path.relative_to(root).with_suffix("").as_posix().upper().split("/")
    if any(path.name in names for names in PUBLIC.values()):
        words = words[-1:]
    between = "".join(f"({re.escape(word)}_)?" for word in words[1:-1])
    ending = path.suffix[1:].upper()
    wanted = f"{words[0]}_{between}{words[-1]}_{ending}" if words[1:] else f"{words[0]}_{ending}"
    directives = re.findall(r"^#\s*(\w+)\s+(\w+)", path.read_text(encoding="utf-8"), re.MULTILINE)[:2]
    guard = directives[0][1] if len(directives) == 2 and directives[0][0] == "ifndef" else None
    if guard is None or directives[1] != ("define", guard):
        return f"{path.relative_to(root)}: has no include guard"
    if not re.fullmatch(wanted, guard):
        return f"{path.relative_to(root)}: its guard {guard} does not follow its path"
    if guard in guards:
        return f"{path.relative_to(root)}: its guard {guard} is that of {guards[guard]}, too"
    guards[guard] = path.relative_to(root)
    return None


def problems_of(path, root, owners):
    folder = path.relative_to(root).parts[0]
    # The fuzz targets are tests of another kind.
    is_test = bool({"tests", "fuzz"} & set(path.relative_to(root).parts))
    allowed = set(MAY_INCLUDE[folder]) | {folder}
    if is_test:
        # The library's own layers are tested through its exports; the others alone.
        allowed |= {"tests"} | (set(MAY_INCLUDE["tests"]) if folder in THROUGH_EXPORTS else set())
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
        if not match:
            continue
        name = match.group(1)
        owner = owners.get(name)
        place = f"{path.relative_to(root)}:{number}"
        if owner is None:
            if not name.endswith((".moc",)) and not name.startswith(("lib", "turbojpeg")):
                yield f'{place}: "{name}" is no header of the project as seen from the source root'
        elif owner not in allowed:
            yield f"{place}: {folder} may not include {owner} ({name})"
        elif folder != owner and owner in PUBLIC and not is_test and folder not in ("bench",):
            if Path(name).name not in PUBLIC[owner]:
                yield f"{place}: only {', '.join(PUBLIC[owner])} of {owner} may be included from outside ({name})"


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent).resolve()
    owners = owners_of_headers(root)
    problems = []
    guards = {}
    files = 0
    for folder in MAY_INCLUDE:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in SOURCES:
                files += 1
                problems += problems_of(path, root, owners)
            if path.suffix in HEADERS:
                problems += filter(None, [guard_problem(path, root, guards)])
    for problem in problems:
        print(problem)
    print(f"{files} files, {len(problems)} includes and guards against the rules.")
    return 1 if problems or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
