# Logging back end. A DLL of its own, since its loggers must be one set for all modules.
needs="apr apr-util expat"
. "$DEPS/recipes/reproducible.sh"
# GCC 12 for Windows gives std::recursive_mutex no destructor otherwise: an event of the system would stay of each appender.
C_FLAGS="$WINVER_FLAG -I$SHIMS $WITHOUT_FOLDER -D_GTHREAD_USE_RECURSIVE_MUTEX_INIT_FUNC=1"
configure() {
    cmake_cross -DBUILD_SHARED_LIBS=ON -DAPR_STATIC=ON -DAPU_STATIC=ON -DBUILD_TESTING=OFF -DBUILD_EXAMPLES=OFF \
        -DLOG4CXX_ENABLE_ODBC=OFF -DLOG4CXX_ENABLE_ESMTP=OFF \
        -DAPR_INCLUDE_DIR="$PREFIX_apr/include" -DAPR_LIBRARIES="$PREFIX_apr/lib/libapr-1.a" \
        -DAPR_UTIL_INCLUDE_DIR="$PREFIX_apr_util/include" -DAPR_UTIL_LIBRARIES="$PREFIX_apr_util/lib/libaprutil-1.a" \
        -DCMAKE_SHARED_LINKER_FLAGS="-s $WITHOUT_TIME" \
        -DCMAKE_CXX_STANDARD_LIBRARIES="-lws2_32 -lmswsock -liphlpapi -lrpcrt4 -lshell32 -ladvapi32 -lkernel32 -luser32"
}
