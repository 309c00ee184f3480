# pellora_add_test(NAME name SOURCES … [LIBRARIES …] [LABELS …] [DISPLAY] [NOT_IN_DEBUG] [TIMEOUT s] [WORKING_FOLDER name])
#
# One GoogleTest program (with main(), unless a source has its own) and one CTest test. DISPLAY: it opens windows, so
# that no other such test runs beside it. NOT_IN_DEBUG: it is long, and mingw-debug, whose own is what it checks on
# Windows, would tell nothing that mingw-release and linux-asan do not.
# WORKING_FOLDER puts the program into build/<preset>/<name> instead of bin, which is how a program meets doubles of
# the platform libraries: Windows looks for a DLL beside the program first.
#
# The test is called PRESET.name, since one run goes over several presets. The preset of the fuzz targets has those alone.
get_filename_component(PELLORA_PRESET ${CMAKE_BINARY_DIR} NAME)
function(pellora_add_test)
    if(PELLORA_FUZZ)
        return()
    endif()
    cmake_parse_arguments(arg "DISPLAY;NOT_IN_DEBUG" "NAME;TIMEOUT;WORKING_FOLDER" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    if(arg_NOT_IN_DEBUG AND PELLORA_CHECKED)
        return()
    endif()
    add_executable(${arg_NAME} ${arg_SOURCES})
    target_link_libraries(${arg_NAME} PRIVATE pellora_options ${arg_LIBRARIES} pellora_dep::gtest)
    if(arg_WORKING_FOLDER)
        set_target_properties(${arg_NAME} PROPERTIES
            RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${arg_WORKING_FOLDER})
    endif()
    set(test ${PELLORA_PRESET}.${arg_NAME})
    add_test(NAME ${test} COMMAND ${arg_NAME})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    set_tests_properties(${test} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}")
    set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT
        "PELLORA_TEST_MEDIA=${CMAKE_SOURCE_DIR}/build/media" "PELLORA_BIN=${CMAKE_BINARY_DIR}/bin"
        "PELLORA_TEST_FOOTAGE=${CMAKE_SOURCE_DIR}/build/footage" "PELLORA_KEEP_OUTPUT=1")
    if(WIN32)
        # Early enough to be told before the limit, also on a busy machine.
        math(EXPR hung "${arg_TIMEOUT} * 4 / 5")
        set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT "PELLORA_STACKS_AFTER=${hung}")
    endif()
    if(PELLORA_SANITIZE MATCHES "thread")
        # FFmpeg is not instrumented, so that its own atomics are invisible and its memory would look unguarded.
        set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT "TSAN_OPTIONS=ignore_noninstrumented_modules=1")
    endif()
    if(arg_DISPLAY)
        pellora_test_needs_display(${test})
    endif()
endfunction()

# No other test with windows runs beside it. They run one after another, so they begin at once, beside those that need no
# display; the longest, with a COST above theirs, first.
function(pellora_test_needs_display test)
    set_tests_properties(${test} PROPERTIES RESOURCE_LOCK display COST 500)
endfunction()

# pellora_add_sound_test(NAME name [WITHOUT_DEVICE] COMMAND program [ARGUMENT…])
#
# A command that opens windows and finds a sound device of its own, or none: tools/with-sound.sh. The sound comes
# at its own pace, so that no other test with windows runs beside it.
function(pellora_add_sound_test)
    cmake_parse_arguments(arg "WITHOUT_DEVICE" "NAME" "COMMAND" ${ARGN})
    set(test ${PELLORA_PRESET}.${arg_NAME})
    add_test(NAME ${test} COMMAND ${CMAKE_SOURCE_DIR}/tools/with-sound.sh ${arg_COMMAND})
    set_tests_properties(${test} PROPERTIES TIMEOUT 600)
    set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT
        "PELLORA_TEST_MEDIA=${CMAKE_SOURCE_DIR}/build/media" "PELLORA_BIN=${CMAKE_BINARY_DIR}/bin"
        "PELLORA_KEEP_OUTPUT=1")
    if(arg_WITHOUT_DEVICE)
        set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT "PELLORA_SOUND=none")
    endif()
    pellora_test_needs_display(${test})
endfunction()
