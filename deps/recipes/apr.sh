# Apache's portable runtime, which log4cxx is built on. Static; linked into log4cxx.
needs=""
C_FLAGS="$WINVER_FLAG -Werror=implicit-function-declaration -Werror=int-conversion -include $SHIMS/apr_pre.h -I$SHIMS"
prepare() {
    # The build runs this generator, which cross-compiled would be a Windows program: a native one stands in.
    gcc -O1 -DWIN32 tools/gen_test_char.c -o "$WORK/gen_test_char"
    sed -i 's|\$<TARGET_FILE:gen_test_char>|${GEN_TEST_CHAR}|' CMakeLists.txt
}
configure() {
    cmake_cross -DGEN_TEST_CHAR="$WORK/gen_test_char" -DAPR_BUILD_SHARED=OFF -DAPR_BUILD_STATIC=ON \
        -DINSTALL_PDB=OFF -DMIN_WINDOWS_VER=0x0601
}
