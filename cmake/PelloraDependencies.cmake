# The third-party libraries as imported targets, their headers as system headers:
#   pellora_dep::ffmpeg  pellora_dep::yuv  pellora_dep::jpeg  pellora_dep::log4cxx  pellora_dep::pugixml
#   pellora_dep::gtest   pellora_dep::benchmark   Qt5::Core Qt5::Gui Qt5::Widgets

# An imported interface target from a prefix: name, prefix, libraries with their paths relative to it.
function(pellora_imported name prefix)
    add_library(pellora_dep::${name} INTERFACE IMPORTED GLOBAL)
    target_include_directories(pellora_dep::${name} SYSTEM INTERFACE ${prefix}/include)
    foreach(library IN LISTS ARGN)
        target_link_libraries(pellora_dep::${name} INTERFACE ${prefix}/${library})
    endforeach()
endfunction()

if(WIN32)
    set(extension dll.a)
    pellora_imported(ffmpeg ${PELLORA_DEP_FFMPEG} lib/libavformat.${extension} lib/libavcodec.${extension}
        lib/libswscale.${extension} lib/libswresample.${extension} lib/libavutil.${extension})
    pellora_imported(yuv ${PELLORA_DEP_LIBYUV} lib/libyuv.a)
    pellora_imported(jpeg ${PELLORA_DEP_LIBJPEG_TURBO} lib/libturbojpeg.a)
    pellora_imported(log4cxx ${PELLORA_DEP_LOG4CXX} lib/liblog4cxx.dll.a)
    pellora_imported(pugixml ${PELLORA_DEP_PUGIXML} lib/libpugixml.a)
    pellora_imported(gtest ${PELLORA_DEP_GOOGLETEST} lib/libgmock_main.a lib/libgmock.a lib/libgtest.a)
    pellora_imported(benchmark ${PELLORA_DEP_BENCHMARK} lib/libbenchmark.a)
    target_link_libraries(pellora_dep::benchmark INTERFACE shlwapi)
    # A build folder remembers where Qt was; what deps/build.py has built anew since lies elsewhere.
    foreach(package IN ITEMS Qt5 Qt5Core Qt5Gui Qt5Widgets)
        string(FIND "${${package}_DIR}" "${PELLORA_DEP_QT}/" place)
        if(NOT place EQUAL 0)
            unset(${package}_DIR CACHE)
        endif()
    endforeach()
    find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Widgets)
else()
    pellora_imported(ffmpeg ${PELLORA_DEP_FFMPEG_NATIVE} lib/libavformat.so lib/libavcodec.so lib/libswscale.so
        lib/libswresample.so lib/libavutil.so)
    foreach(pair IN ITEMS "yuv yuv" "jpeg turbojpeg" "pugixml pugixml")
        separate_arguments(pair)
        list(GET pair 0 target)
        list(GET pair 1 library)
        add_library(pellora_dep::${target} INTERFACE IMPORTED GLOBAL)
        target_link_libraries(pellora_dep::${target} INTERFACE ${library})
    endforeach()
    find_package(GTest REQUIRED)
    find_package(Threads REQUIRED)
    add_library(pellora_dep::gtest INTERFACE IMPORTED GLOBAL)
    target_link_libraries(pellora_dep::gtest INTERFACE GTest::gmock_main GTest::gmock GTest::gtest Threads::Threads)
endif()
