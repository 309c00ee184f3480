# What `cmake --install` puts where, and the two archives that cpack makes of it: the package, and the debug symbols.
#
# Target pellora_package makes what is installed and no part of the usual build needs: libraries without their symbols, the
# symbols, import libraries for MSVC, the licences, the guide. ./package.sh does all of it.
set(PELLORA_PACKAGE ${CMAKE_BINARY_DIR}/package)
find_program(PELLORA_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
# Debian's own Python sees Debian's python3-markdown.
set(PELLORA_PYTHON /usr/bin/python3)

# A file of the package that a command makes. Arguments: where it is, what it is made of, the command.
function(pellora_package_file output source)
    add_custom_command(OUTPUT ${output} COMMAND ${ARGN} DEPENDS ${source} VERBATIM)
    set_property(GLOBAL APPEND PROPERTY PELLORA_PACKAGE_FILES ${output})
endfunction()

# A DLL or program without symbols, which name the file that has them.
function(pellora_package_binary target)
    get_target_property(name ${target} OUTPUT_NAME)
    get_target_property(kind ${target} TYPE)
    if(kind STREQUAL "EXECUTABLE")
        set(name ${name}.exe)
    else()
        set(name ${name}.dll)
    endif()
    set(folder ${PELLORA_PACKAGE}/bin)
    # It writes the time into the files that it makes.
    set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
    pellora_package_file(${folder}/${name}.debug "${target};$<TARGET_FILE:${target}>"
        ${objcopy} --only-keep-debug $<TARGET_FILE:${target}> ${folder}/${name}.debug)
    pellora_package_file(${folder}/${name} ${folder}/${name}.debug
        ${objcopy} --strip-all --add-gnu-debuglink=${folder}/${name}.debug $<TARGET_FILE:${target}> ${folder}/${name})
    install(PROGRAMS ${folder}/${name} DESTINATION bin COMPONENT package)
    install(FILES ${folder}/${name}.debug DESTINATION bin COMPONENT symbols)
endfunction()

# Import libraries for both families of compilers; the names that a DLL exports are those of its .def.
function(pellora_package_imports target definition)
    get_target_property(name ${target} OUTPUT_NAME)
    set(library ${PELLORA_PACKAGE}/lib/${name}.lib)
    pellora_package_file(${library} ${definition}
        ${PELLORA_LLVM_DLLTOOL} -m i386:x86-64 -d ${definition} -D ${name}.dll -l ${library})
    install(FILES ${library} $<TARGET_LINKER_FILE:${target}> DESTINATION lib COMPONENT package)
endfunction()

# What the commands that make several files remember them by.
function(pellora_package_folder name sources)
    file(GLOB_RECURSE depends CONFIGURE_DEPENDS ${sources})
    pellora_package_file(${PELLORA_PACKAGE}/${name}.made "${depends}"
        sh -c "\"$@\" && touch '${PELLORA_PACKAGE}/${name}.made'" -- ${ARGN} ${PELLORA_PACKAGE}/${name})
    install(DIRECTORY ${PELLORA_PACKAGE}/${name} DESTINATION . COMPONENT package)
endfunction()

function(pellora_package_runtime)
    get_property(files GLOBAL PROPERTY PELLORA_RUNTIME_FILES)
    foreach(file IN LISTS files)
        file(RELATIVE_PATH place ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${file})
        get_filename_component(folder bin/${place} DIRECTORY)
        install(FILES ${file} DESTINATION ${folder} COMPONENT package)
    endforeach()
endfunction()

function(pellora_package_development)
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/interface/Pellora*.h ${CMAKE_SOURCE_DIR}/interface/Pellora*.hpp)
    install(FILES ${headers} ${CMAKE_SOURCE_DIR}/device/include/Selvikdcm.h ${CMAKE_SOURCE_DIR}/player/include/Kavun.h
        DESTINATION include COMPONENT package)
    include(CMakePackageConfigHelpers)
    write_basic_package_version_file(${PELLORA_PACKAGE}/PelloraConfigVersion.cmake COMPATIBILITY SameMinorVersion)
    install(FILES ${CMAKE_SOURCE_DIR}/cmake/PelloraConfig.cmake ${PELLORA_PACKAGE}/PelloraConfigVersion.cmake
        DESTINATION lib/cmake/Pellora COMPONENT package)
    # Examples: the sources of the hosts alone, since their rules are those of this build.
    install(DIRECTORY ${CMAKE_SOURCE_DIR}/hosts DESTINATION . COMPONENT package
        FILES_MATCHING PATTERN "*.c" PATTERN "*.h" PATTERN "*.cpp" PATTERN "*.hpp" PATTERN "tests" EXCLUDE
        # Of the npm package, which is a package of its own.
        PATTERN "node" EXCLUDE
        PATTERN "shell" EXCLUDE)
    # All of this one is there to be copied.
    install(DIRECTORY ${CMAKE_SOURCE_DIR}/hosts/shell DESTINATION hosts COMPONENT package
        PATTERN "node_modules" EXCLUDE)
endfunction()

function(pellora_package_documents)
    pellora_package_folder(licences "${CMAKE_SOURCE_DIR}/deps/*.tsv;${CMAKE_SOURCE_DIR}/deps/*.py;${CMAKE_SOURCE_DIR}/deps/patches/*"
        ${PELLORA_PYTHON} ${CMAKE_SOURCE_DIR}/deps/licences.py)
    pellora_package_folder(guide "${CMAKE_SOURCE_DIR}/docs/*;${CMAKE_SOURCE_DIR}/tools/guide.py"
        ${PELLORA_PYTHON} ${CMAKE_SOURCE_DIR}/tools/guide.py)
    install(FILES LICENSE THIRD_PARTY.md CHANGELOG.md DESTINATION . COMPONENT package)
    install(FILES resources/package-readme.txt RENAME README.txt DESTINATION . COMPONENT package)
endfunction()

# Two archives with the time of the last commit on every file.
function(pellora_package_archives)
    set(CPACK_GENERATOR External)
    set(CPACK_PACKAGE_FILE_NAME pellora-${PROJECT_VERSION}-win64)
    set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
    set(CPACK_COMPONENTS_ALL package symbols)
    set(CPACK_EXTERNAL_ENABLE_STAGING ON)
    set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_SOURCE_DIR}/cmake/PelloraArchive.cmake)
    set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
        WORLD_READ WORLD_EXECUTE)
    include(CPack)
endfunction()

function(pellora_add_package)
    # Runs before all that is installed: who forgot to make the package's files is told so.
    install(CODE "if(NOT EXISTS ${PELLORA_PACKAGE}/guide.made)
        message(FATAL_ERROR \"Build the target pellora_package first; ./package.sh does it all.\")
        endif()" ALL_COMPONENTS)
    foreach(target IN ITEMS pellora corvane drovel selvikdcm pellora_demo pellora_discover)
        pellora_package_binary(${target})
    endforeach()
    pellora_package_imports(pellora ${CMAKE_SOURCE_DIR}/interface/Pellora.def)
    pellora_package_imports(selvikdcm ${CMAKE_SOURCE_DIR}/device/src/Selvikdcm.def)
    pellora_package_imports(drovel ${CMAKE_SOURCE_DIR}/player/src/win/Kavun.def)
    pellora_package_runtime()
    pellora_package_development()
    pellora_package_documents()
    file(MAKE_DIRECTORY ${PELLORA_PACKAGE}/bin ${PELLORA_PACKAGE}/lib)
    get_property(files GLOBAL PROPERTY PELLORA_PACKAGE_FILES)
    add_custom_target(pellora_package DEPENDS ${files} pellora_runtime)
    pellora_package_archives()
endfunction()
