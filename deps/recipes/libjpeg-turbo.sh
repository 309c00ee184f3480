# JPEG encoder for captures. Static, with its SIMD; linked into the player.
needs=""
configure() { cmake_cross -DENABLE_SHARED=OFF -DENABLE_STATIC=ON -DREQUIRE_SIMD=ON -DWITH_TURBOJPEG=ON; }
build() { cmake --build "$BUILD" -j "$JOBS" --target jpeg-static turbojpeg-static; }
install() {
    mkdir -p "$PREFIX/lib" "$PREFIX/include"
    find "$BUILD" -maxdepth 1 \( -name 'libjpeg.a' -o -name 'libturbojpeg.a' \) -exec cp {} "$PREFIX/lib/" \;
    cp "$SRC"/{jpeglib.h,jmorecfg.h,jerror.h,turbojpeg.h} "$BUILD/jconfig.h" "$PREFIX/include/"
}
