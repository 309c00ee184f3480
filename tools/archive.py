#!/usr/bin/python3
"""Packs what cpack laid out: tools/archive.py FOLDER TARGET NAME

FOLDER holds "package" and "symbols"; TARGET gets NAME.zip, NAME-symbols.zip and NAME.sha256 with their sums. The same files
give the same bytes: entries are sorted, carry the time of SOURCE_DATE_EPOCH.
"""

import hashlib
import os
import sys
import time
import zipfile
from pathlib import Path

# The first moment that a ZIP file can tell.
EARLIEST = 315532800
REGULAR, UNIX = 0o100644, 3


def pack(folder, root, target, sums_name):
    when = time.gmtime(max(EARLIEST, int(os.environ.get("SOURCE_DATE_EPOCH") or EARLIEST)))[:6]
    files = {path.relative_to(folder).as_posix(): path.read_bytes() for path in folder.rglob("*") if path.is_file()}
    if not files:
        raise SystemExit(f"ERROR: {folder} holds nothing to pack.")
    sums = "".join(f"{hashlib.sha256(data).hexdigest()}  {name}\n" for name, data in sorted(files.items()))
    files[sums_name] = sums.encode()
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name, data in sorted(files.items()):
            entry = zipfile.ZipInfo(f"{root}/{name}", when)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = UNIX
            entry.external_attr = REGULAR << 16
            archive.writestr(entry, data)


def main():
    folder, target, name = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
    archives = [target / f"{name}.zip", target / f"{name}-symbols.zip"]
    pack(folder / "package", name, archives[0], "SHA256SUMS")
    pack(folder / "symbols", name, archives[1], "SHA256SUMS-symbols")
    sums = [f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.name}\n" for path in archives]
    (target / f"{name}.sha256").write_text("".join(sums), encoding="ascii")
    return 0


if __name__ == "__main__":
    sys.exit(main())
