# pellora_add_runtime(): everything that an installation holds besides the project's own libraries, in bin, so that
# programs run from the build as they do where they are installed. Target pellora_runtime, part of all.

# A file of the installation: copied when it changes. Arguments: source, place under bin; STRIP drops symbols.
function(pellora_runtime_file source place)
    set(output ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${place})
    if("STRIP" IN_LIST ARGN)
        # It writes the time into the file that it makes.
        set(command ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_STRIP} --strip-all -o ${output} ${source})
    else()
        set(command ${CMAKE_COMMAND} -E copy ${source} ${output})
    endif()
    get_filename_component(folder ${output} DIRECTORY)
    add_custom_command(OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND ${command}
        DEPENDS ${source}
        COMMENT "Runtime: ${place}"
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY PELLORA_RUNTIME_FILES ${output})
endfunction()

function(pellora_add_runtime)
    foreach(library IN ITEMS Qt5Core Qt5Gui Qt5Widgets)
        pellora_runtime_file(${PELLORA_DEP_QT}/bin/${library}.dll ${library}.dll)
    endforeach()
    pellora_runtime_file(${PELLORA_DEP_QT}/plugins/platforms/qwindows.dll platforms/qwindows.dll)
    pellora_runtime_file(${PELLORA_DEP_LOG4CXX}/bin/liblog4cxx.dll liblog4cxx.dll)

    # Their names carry the major version.
    file(GLOB ffmpeg ${PELLORA_DEP_FFMPEG}/bin/*.dll)
    if(NOT ffmpeg)
        message(FATAL_ERROR "No FFmpeg libraries in ${PELLORA_DEP_FFMPEG}/bin; run deps/build.py.")
    endif()
    foreach(library IN LISTS ffmpeg)
        get_filename_component(name ${library} NAME)
        pellora_runtime_file(${library} ${name})
    endforeach()

    # The compiler's own: one copy for all modules.
    foreach(name IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
            OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE)
        # Debian keeps libwinpthread-1.dll where only the linker looks.
        if(NOT IS_ABSOLUTE ${library})
            set(library /usr/x86_64-w64-mingw32/lib/${name})
        endif()
        pellora_runtime_file(${library} ${name} STRIP)
    endforeach()

    pellora_runtime_file(${CMAKE_SOURCE_DIR}/resources/WidgetLayout/WidgetLayout.xml WidgetLayout/WidgetLayout.xml)
    pellora_runtime_file(${CMAKE_SOURCE_DIR}/resources/addon.log4cxx.properties addon.log4cxx.properties)

    get_property(files GLOBAL PROPERTY PELLORA_RUNTIME_FILES)
    add_custom_target(pellora_runtime ALL DEPENDS ${files})
endfunction()
