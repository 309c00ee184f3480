# What CMake makes of the unpacked package for MSVC's binary interface. None of MSVC's libraries is at hand: no run-time
# library, and of the system's that of MinGW, which has the same form.
cmake_minimum_required(VERSION 3.25)
set(CMAKE_MSVC_RUNTIME_LIBRARY "")
project(MsvcLink LANGUAGES C)
set(CMAKE_C_STANDARD_LIBRARIES "")
find_package(Pellora 0.1 REQUIRED)
add_executable(msvc_link msvc_link.c)
target_compile_options(msvc_link PRIVATE -ffreestanding -Wall -Wextra -Werror)
target_link_options(msvc_link PRIVATE -nostdlib -Wl,/entry:start)
target_link_libraries(msvc_link PRIVATE Pellora::Pellora Pellora::Selvikdcm Pellora::Drovel
    /usr/x86_64-w64-mingw32/lib/libkernel32.a)
pellora_copy_runtime(msvc_link)
