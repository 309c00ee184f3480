# Cross-building for Windows x86-64 with Debian's mingw-w64 (gcc, posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Where deps/build.py put each dependency.
include(${CMAKE_CURRENT_LIST_DIR}/../build/dependencies.cmake)
set(CMAKE_PREFIX_PATH ${PELLORA_WINDOWS_PREFIXES})
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${PELLORA_WINDOWS_PREFIXES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests are Windows programs; this runs them.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/wine-run.sh)
