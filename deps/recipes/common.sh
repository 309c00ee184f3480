# Runs one recipe: unpack, configure, build, install, each stage stamped so that an interrupted build goes on.
#
# Given: RECIPE, NAME, VERSION, FILES (the pinned sources), WORK (kept until the build is whole), PREFIX (where
# it installs to), JOBS, DEPS (this folder's parent), PREFIX_<need> and NEED_PREFIXES (what it stands on).
# A recipe sets `needs` and defines `configure`, `build` and `install`; they run in $BUILD with the sources in $SRC.
set -euo pipefail

export LC_ALL=C
SRC="$WORK/source"
BUILD="$WORK/build"
TARGET=x86_64-w64-mingw32
CC_CROSS=$TARGET-gcc-posix
CXX_CROSS=$TARGET-g++-posix
SHIMS="$DEPS/shims"
# Windows 7 is the oldest system that the library runs on; Debian's mingw defaults to Windows 10.
WINVER_FLAG=-D_WIN32_WINNT=0x0601

# pkg-config sees what the recipe stands on and nothing of the machine's own.
PKG_CONFIG_LIBDIR=""
IFS=';' read -r -a need_list <<<"${NEED_PREFIXES:-}"
for prefix in ${need_list[@]+"${need_list[@]}"}; do PKG_CONFIG_LIBDIR="$PKG_CONFIG_LIBDIR:$prefix/lib/pkgconfig"; done
export PKG_CONFIG_LIBDIR="${PKG_CONFIG_LIBDIR#:}"

# The usual way to build: a static library with CMake. Further arguments are CMake's.
cmake_cross() {
    cmake -G Ninja -S "$SRC" -B "$BUILD" \
        -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=AMD64 \
        -DCMAKE_C_COMPILER=$CC_CROSS -DCMAKE_CXX_COMPILER=$CXX_CROSS -DCMAKE_RC_COMPILER=$TARGET-windres \
        -DCMAKE_FIND_ROOT_PATH="/usr/$TARGET;${NEED_PREFIXES:-}" \
        -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY \
        -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY \
        -DCMAKE_PREFIX_PATH="${NEED_PREFIXES:-}" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$PREFIX" -DCMAKE_INSTALL_LIBDIR=lib \
        -DCMAKE_C_FLAGS="${C_FLAGS-$WINVER_FLAG}" -DCMAKE_CXX_FLAGS="${C_FLAGS-$WINVER_FLAG}" "$@"
}

configure() { cmake_cross; }
build() { cmake --build "$BUILD" -j "$JOBS"; }
install() { cmake --install "$BUILD"; }
unpack() { for file in $FILES; do tar -xf "$file" -C "$SRC" --strip-components=1; done; }
prepare() { :; }

# shellcheck disable=SC1090
. "$RECIPE"

if [ ! -e "$WORK/.unpacked" ]; then
    rm -rf "$SRC" "$BUILD"
    mkdir -p "$SRC"
    unpack
    (cd "$SRC" && prepare)
    touch "$WORK/.unpacked"
fi
if [ ! -e "$WORK/.configured" ]; then
    rm -rf "$BUILD"
    mkdir -p "$BUILD"
    (cd "$BUILD" && configure)
    touch "$WORK/.configured"
fi
(cd "$BUILD" && build)
(cd "$BUILD" && install)
