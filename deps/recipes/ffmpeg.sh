# Demuxing, decoding, scaling and resampling, as DLLs. Only the components that this product names.
needs="dav1d"
. "$DEPS/recipes/ffmpeg-components.sh"
. "$DEPS/recipes/reproducible.sh"
# Its build strips the DLLs, and strip puts this time back into their headers: none, as in the other DLLs.
SOURCE_DATE_EPOCH=0
prepare() {
    patch -p1 <"$DEPS/patches/ffmpeg-tls-certificates.patch"
    patch -p1 <"$DEPS/patches/ffmpeg-open-without-memory.patch"
}
configure() {
    "$SRC/configure" --prefix=/ffmpeg --enable-cross-compile --cross-prefix=$TARGET- --cc=$CC_CROSS --cxx=$CXX_CROSS \
        --arch=x86_64 --target-os=mingw32 --pkg-config=pkg-config --pkg-config-flags=--static \
        --extra-cflags="$WINVER_FLAG $WITHOUT_FOLDER" --extra-ldflags="-static-libgcc $WITHOUT_TIME" --extra-libs=-lcrypt32 \
        --enable-shared --disable-static \
        "${components[@]}" --enable-schannel --enable-w32threads --enable-d3d11va --enable-dxva2 \
        --enable-hwaccel=h264_d3d11va,h264_d3d11va2,h264_dxva2,hevc_d3d11va,hevc_d3d11va2,hevc_dxva2 \
        --enable-x86asm --enable-libdav1d
    # The DLLs keep the words above.
    sed -i "/FFMPEG_CONFIGURATION/s|$SRC|source|g" config.h
}
build() { make -j "$JOBS"; }
install() {
    make install DESTDIR="$WORK/installed"
    cp -r "$WORK/installed/ffmpeg/." "$PREFIX/"
}
