# The same FFmpeg for the machine that builds: the sanitizers run there, and Debian's own has another interface.
needs=""
source="ffmpeg"
. "$DEPS/recipes/ffmpeg-components.sh"
unset PKG_CONFIG_LIBDIR # dav1d is Debian's own here
prepare() { patch -p1 <"$DEPS/patches/ffmpeg-open-without-memory.patch"; }
configure() {
    "$SRC/configure" --prefix="$PREFIX" --enable-shared --disable-static "${components[@]}" --enable-libdav1d \
        --extra-ldsoflags="-Wl,-rpath,$PREFIX/lib"
}
build() { make -j "$JOBS"; }
install() { make install; }
