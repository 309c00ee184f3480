# The CMakeLists.txt of somebody who builds against the unpacked package.
cmake_minimum_required(VERSION 3.16)
project(Consumer LANGUAGES C)
find_package(Pellora 0.1 REQUIRED)
add_executable(consumer consumer.c)
target_link_libraries(consumer PRIVATE Pellora::Pellora Pellora::Selvikdcm Pellora::Drovel shell32)
pellora_copy_runtime(consumer)
