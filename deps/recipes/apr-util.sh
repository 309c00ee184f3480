# Apache's portable runtime utilities. Only the static library: the shared one's resource file does not compile.
needs="apr expat"
C_FLAGS="$WINVER_FLAG -Werror=implicit-function-declaration -Werror=int-conversion -include $SHIMS/apr_pre.h -I$SHIMS"
configure() {
    cmake_cross -DAPU_HAVE_ODBC=OFF -DAPR_HAS_LDAP=OFF -DAPU_HAVE_CRYPTO=OFF -DINSTALL_PDB=OFF \
        -DCMAKE_DISABLE_FIND_PACKAGE_OpenSSL=ON -DAPR_INCLUDE_DIR="$PREFIX_apr/include" \
        -DAPR_LIBRARIES="$PREFIX_apr/lib/libapr-1.a"
}
build() { cmake --build "$BUILD" -j "$JOBS" --target aprutil-1; }
install() {
    mkdir -p "$PREFIX/lib" "$PREFIX/include"
    find "$BUILD" -name 'libaprutil-1.a' -exec cp {} "$PREFIX/lib/" \;
    cp "$SRC"/include/*.h "$PREFIX/include/"
    find "$BUILD" \( -name apu.h -o -name apr_ldap.h -o -name apu_want.h \) -exec cp {} "$PREFIX/include/" \;
}
