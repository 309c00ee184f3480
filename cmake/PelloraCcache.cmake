# Compiles through ccache where it is installed. Its folder lies beside the dependencies, and no result depends on where
# the checkout is, so that a fresh clone takes what another one compiled.
find_program(PELLORA_CCACHE ccache)
if(PELLORA_CCACHE)
    set(cache "$ENV{PELLORA_CACHE}")
    if(NOT cache)
        set(cache "$ENV{HOME}/.cache/pellora")
    endif()
    set(launcher env CCACHE_DIR=${cache}/ccache CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 CCACHE_MAXSIZE=5G
        ${PELLORA_CCACHE})
    foreach(language IN ITEMS C CXX)
        # One that was chosen from outside stays.
        if(NOT DEFINED CMAKE_${language}_COMPILER_LAUNCHER)
            set(CMAKE_${language}_COMPILER_LAUNCHER ${launcher})
        endif()
    endforeach()
endif()
