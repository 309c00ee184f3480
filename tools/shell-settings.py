#!/usr/bin/env python3
"""Writes what hosts/shell is started with: shell-settings.py COUNT FILE-OR-ADDRESS… >settings.json

COUNT cameras, of which each sends one of the files, in turns, or is at one of the addresses.
"""

import json
import sys
from pathlib import Path
from urllib.parse import quote, urlsplit


def camera(number, source):
    if "://" in source:
        address = source
        name = f"Camera {number + 1}, {urlsplit(source).hostname}"
    else:
        # Wine's Z: is the whole file system. A device library's file camera plays round and round.
        address = "file:///Z:" + quote(str(Path(source).resolve()))
        name = f"Camera {number + 1}, {Path(source).stem}"
    return {"kind": "camera", "name": name, "address": address, "user": "", "password": "", "channel": 1, "stream": "main"}


def main():
    count, sources = int(sys.argv[1]), sys.argv[2:]
    cameras = [camera(number, sources[number % len(sources)]) for number in range(count)]
    json.dump({"cameras": cameras, "play": True}, sys.stdout, indent=2)


if __name__ == "__main__":
    main()
