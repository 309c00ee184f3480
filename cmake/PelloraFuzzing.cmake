# pellora_add_fuzz_target(NAME name SOURCES … [LIBRARIES …] [MAX_LEN bytes])
#
# One libFuzzer target: a source that defines what tests/support/FuzzTarget.h declares, a corpus in corpus/<name> beside
# it, and a dictionary where there is a file corpus/<name>.dict. It is built by the preset linux-fuzz alone. Inputs are at
# most so many bytes long (default: 4096).
#
# Its test, linux-fuzz.<name>_fuzz, is a short run from the corpus; tools/fuzz.sh runs it for longer. Both go by
# tools/fuzz_target.sh, which finds here in fuzz/<name>.target what it has to know.
option(PELLORA_FUZZ "Build the fuzz targets, and no tests; needs clang" OFF)
set(PELLORA_FUZZ_SECONDS 15)

function(pellora_add_fuzz_target)
    cmake_parse_arguments(arg "" "NAME;MAX_LEN" "SOURCES;LIBRARIES" ${ARGN})
    if(NOT arg_MAX_LEN)
        set(arg_MAX_LEN 4096)
    endif()
    set(program ${arg_NAME}_fuzz)
    add_executable(${program} ${arg_SOURCES} ${CMAKE_SOURCE_DIR}/tests/support/FuzzMain.cpp)
    target_link_libraries(${program} PRIVATE pellora_options pellora_dep::ffmpeg ${arg_LIBRARIES})
    # libFuzzer brings main().
    target_link_options(${program} PRIVATE -fsanitize=fuzzer)
    file(WRITE ${CMAKE_BINARY_DIR}/fuzz/${arg_NAME}.target
        "program=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${program}\n"
        "corpus=${CMAKE_CURRENT_SOURCE_DIR}/corpus/${arg_NAME}\n"
        "max_len=${arg_MAX_LEN}\n")
    set(test ${PELLORA_PRESET}.${program})
    add_test(NAME ${test}
        COMMAND ${CMAKE_SOURCE_DIR}/tools/fuzz_target.sh ${arg_NAME} --seconds ${PELLORA_FUZZ_SECONDS})
    set_tests_properties(${test} PROPERTIES TIMEOUT 300 LABELS fuzz)
endfunction()
