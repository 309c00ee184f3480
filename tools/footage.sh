#!/usr/bin/env bash
# Fetches real footage from Debian packages into the cache, once, and prints the files' paths, one a line:
#
#     tools/footage.sh             what the demo shows: three packages, 42 MB
#     tools/footage.sh --tests DIR what player_footage_tests go through: ten packages, 97 MB, a link to each in DIR
#
# The packages are unpacked, not installed, and none of their files but films and licences. THIRD_PARTY.md has the
# licences; each package's copyright file lies beside its films.
set -euo pipefail
folder="${PELLORA_CACHE:-$HOME/.cache/pellora}/footage"
packages=(forensics-samples-files python3-imageio python-kivy-examples)
links=
if [ "${1:-}" = --tests ]; then
    links="$2"
    packages+=(devede gem-doc golang-github-gabriel-vasile-mimetype-dev kphotoalbum python3-mecavideo renpy-demo xine-ui)
fi

# The files that a package has to have, lest a newer version silently tests less.
films() {
    case "$1" in
    devede) echo base_ntsc.mpg base_ntsc_wide.mpg base_pal.mpg base_pal_wide.mpg ;;
    forensics-samples-files) echo VID_20191220_170832.mp4 movie-hello.avi movie-hello.mp4 movie-hello.mpeg ;;
    gem-doc) echo alea.mpg anim-1.mov homer.avi ;;
    golang-github-gabriel-vasile-mimetype-dev) echo 3gp.3gp flv.flv mkv.mkv mov.mov mp4.mp4 webm.webm ;;
    kphotoalbum) echo movie.avi ;;
    python-kivy-examples) echo cityCC0.mpg ;;
    python3-imageio) echo cockatoo.mp4 realshort.mp4 ;;
    python3-mecavideo)
        echo Force_constante.avi Principe_inertie.avi balle-jbart.mp4 balle1-vp9.avi g1.avi g2.avi retroMars2018.avi
        ;;
    renpy-demo) echo oa4_launch.webm ;;
    xine-ui) echo default.mpv xine-ui_logo.mpg ;;
    esac
}

fail() {
    echo "ERROR: $1" >&2
    [ ! -s "$folder/log" ] || tail -n 5 "$folder/log" | sed 's/^/    /' >&2
    [ -n "$links" ] || echo "Give ./demo.sh files of your own instead." >&2
    exit 1
}

download() {
    (cd "$unpacked" && apt-get download -q "$package")
}

# The package lists may be old, or not there at all.
update() {
    if [ "$(id -u)" = 0 ]; then apt-get update -q; else sudo apt-get update -q; fi
}

fetch() {
    local package="$1" unpacked="$folder/unpacked" film
    rm -rf "$unpacked" "${folder:?}/$package"
    mkdir -p "$unpacked"
    chmod 777 "$unpacked" # apt downloads as a user of its own
    download >"$folder/log" 2>&1 || { update && download; } >"$folder/log" 2>&1 ||
        fail "Debian's package $package could not be downloaded:"
    (cd "$unpacked" && dpkg-deb --fsys-tarfile ./*.deb | tar -x) >"$folder/log" 2>&1 ||
        fail "Debian's package $package could not be unpacked:"
    mkdir "$folder/$package.new"
    for film in $(films "$package"); do
        find "$unpacked/usr" -type f -name "$film" -exec cp {} "$folder/$package.new/" \;
        [ -s "$folder/$package.new/$film" ] || fail "Debian's package $package has no $film any more."
    done
    cp "$unpacked/usr/share/doc/$package/copyright" "$folder/$package.new/"
    mv "$folder/$package.new" "$folder/$package"
    rm -rf "$unpacked" "$folder/log"
}

mkdir -p "$folder"
exec 9>"$folder/.lock"
flock 9
rm -rf "$folder"/*.new
number=0
for package in "${packages[@]}"; do
    number=$((number + 1))
    if [ ! -e "$folder/$package/copyright" ]; then
        echo "Fetching footage, $number of ${#packages[@]}: $package" >&2
        fetch "$package"
    fi
    if [ -n "$links" ]; then
        mkdir -p "$links"
        ln -sfn "$folder/$package" "$links/$package"
        for film in $(films "$package"); do echo "$links/$package/$film"; done
    fi
done
# For the demo, clips with movement first: the first one is in the selected pane.
[ -n "$links" ] ||
    for package in "${packages[@]}"; do find "$folder/$package" -type f ! -name copyright -size +200k; done | sort -r
