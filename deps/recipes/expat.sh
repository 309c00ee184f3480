# XML parser that APR-util is built on. Static; linked into log4cxx.
needs=""
C_FLAGS=""
# The tarball holds the whole repository; the library is one folder of it.
unpack() { tar -xf "$FILES" -C "$SRC" --strip-components=2 --wildcards '*/expat/*'; }
configure() {
    cmake_cross -DEXPAT_SHARED_LIBS=OFF -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF \
        -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF
}
