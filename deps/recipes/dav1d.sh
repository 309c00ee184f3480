# AV1 decoder; FFmpeg's own needs hardware. Static; linked into avcodec.
needs=""
configure() {
    cat >"$WORK/cross.txt" <<EOF
[binaries]
c = '$CC_CROSS'
cpp = '$CXX_CROSS'
ar = '$TARGET-ar'
strip = '$TARGET-strip'
windres = '$TARGET-windres'
[built-in options]
c_args = ['$WINVER_FLAG']
[host_machine]
system = 'windows'
cpu_family = 'x86_64'
cpu = 'x86_64'
endian = 'little'
EOF
    meson setup "$BUILD" "$SRC" --cross-file "$WORK/cross.txt" --prefix "$PREFIX" --libdir lib --buildtype release \
        -Ddefault_library=static -Denable_tools=false -Denable_tests=false
}
build() { ninja -C "$BUILD" -j "$JOBS"; }
install() { ninja -C "$BUILD" install; }
