# One interface target that every target of the project links: warnings, checks, debug format.
add_library(pellora_options INTERFACE)
# The resource compiler knows none of these.
set(code "$<COMPILE_LANGUAGE:C,CXX>")
target_compile_options(pellora_options INTERFACE
    "$<${code}:-Wall;-Wextra;-Werror;-Wshadow>" $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    # Wine's backtraces read DWARF 4.
    $<${code}:-gdwarf-4>)
if(WIN32)
    # Two builds of the same sources are the same, byte by byte, wherever and whenever they are made.
    get_filename_component(dependencies ${PELLORA_DEP_QT} DIRECTORY)
    target_compile_options(pellora_options INTERFACE
        "$<${code}:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.;-ffile-prefix-map=${dependencies}=deps>")
    target_link_options(pellora_options INTERFACE -Wl,--no-insert-timestamp)
    # Windows 7 is the oldest system; UNICODE makes the wide functions the default.
    target_compile_definitions(pellora_options INTERFACE _WIN32_WINNT=0x0601 WINVER=0x0601 UNICODE _UNICODE NOMINMAX
        WIN32_LEAN_AND_MEAN)
endif()

option(PELLORA_CHECKED "Trap on undefined behaviour and check the standard library's preconditions" OFF)
if(PELLORA_CHECKED)
    # mingw has no sanitizer run-time library, hence the traps.
    target_compile_options(pellora_options INTERFACE
        "$<${code}:-fsanitize=undefined;-fsanitize-undefined-trap-on-error;-fno-sanitize=vptr>")
    target_compile_definitions(pellora_options INTERFACE _GLIBCXX_ASSERTIONS)
endif()

set(PELLORA_SANITIZE "" CACHE STRING "Sanitizers of a native build, such as address,undefined or thread")
if(PELLORA_SANITIZE)
    target_compile_options(pellora_options INTERFACE -fsanitize=${PELLORA_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer -O1)
    target_link_options(pellora_options INTERFACE -fsanitize=${PELLORA_SANITIZE})
    target_compile_definitions(pellora_options INTERFACE _GLIBCXX_ASSERTIONS)
endif()
target_include_directories(pellora_options INTERFACE ${CMAKE_SOURCE_DIR})
