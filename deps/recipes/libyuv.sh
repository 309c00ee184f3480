# Colour conversion and scaling with run-time dispatch to SIMD. Static; linked into the player.
needs=""
configure() { cmake_cross -DCMAKE_POSITION_INDEPENDENT_CODE=ON -DCMAKE_DISABLE_FIND_PACKAGE_JPEG=ON; }
build() { cmake --build "$BUILD" -j "$JOBS" --target yuv; }
install() {
    mkdir -p "$PREFIX/lib" "$PREFIX/include"
    cp "$BUILD/libyuv.a" "$PREFIX/lib/"
    cp -r "$SRC/include/." "$PREFIX/include/"
}
