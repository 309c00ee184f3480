# find_package(Pellora): the video library, its player and its device library, for MinGW and for MSVC, x86-64.
#
# Targets, each with its headers and the import library of the compiler at hand:
#   Pellora::Pellora     Pellora.dll, which shows video
#   Pellora::Selvikdcm   Selvikdcm.dll, for log-ins to cameras and their states
#   Pellora::Drovel      Drovel.dll, the player alone
#   Pellora::Headers     the headers alone, for programs that load the library when they run
#
# Pellora_RUNTIME_DIR is the folder with the DLLs. pellora_copy_runtime(target) copies what a program needs when it runs
# into the program's own folder.
get_filename_component(Pellora_ROOT_DIR "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
set(Pellora_RUNTIME_DIR "${Pellora_ROOT_DIR}/bin")

if(NOT WIN32)
    set(Pellora_FOUND FALSE)
    set(Pellora_NOT_FOUND_MESSAGE "Pellora is for Windows x86-64.")
    return()
endif()

if(NOT TARGET Pellora::Headers)
    add_library(Pellora::Headers INTERFACE IMPORTED)
    set_target_properties(Pellora::Headers PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${Pellora_ROOT_DIR}/include")
    foreach(_pellora_name IN ITEMS Pellora Selvikdcm Drovel)
        if(MSVC OR CMAKE_C_SIMULATE_ID STREQUAL "MSVC" OR CMAKE_CXX_SIMULATE_ID STREQUAL "MSVC")
            set(_pellora_import "${Pellora_ROOT_DIR}/lib/${_pellora_name}.lib")
        else()
            set(_pellora_import "${Pellora_ROOT_DIR}/lib/lib${_pellora_name}.dll.a")
        endif()
        add_library(Pellora::${_pellora_name} SHARED IMPORTED)
        set_target_properties(Pellora::${_pellora_name} PROPERTIES
            IMPORTED_LOCATION "${Pellora_RUNTIME_DIR}/${_pellora_name}.dll"
            IMPORTED_IMPLIB "${_pellora_import}"
            INTERFACE_LINK_LIBRARIES Pellora::Headers)
    endforeach()
    unset(_pellora_name)
    unset(_pellora_import)
endif()

function(pellora_copy_runtime target)
    file(GLOB libraries "${Pellora_RUNTIME_DIR}/*.dll")
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND "${CMAKE_COMMAND}" -E copy_if_different ${libraries} "${Pellora_RUNTIME_DIR}/addon.log4cxx.properties"
            "$<TARGET_FILE_DIR:${target}>"
        COMMAND "${CMAKE_COMMAND}" -E copy_directory "${Pellora_RUNTIME_DIR}/platforms"
            "$<TARGET_FILE_DIR:${target}>/platforms"
        COMMAND "${CMAKE_COMMAND}" -E copy_directory "${Pellora_RUNTIME_DIR}/WidgetLayout"
            "$<TARGET_FILE_DIR:${target}>/WidgetLayout"
        VERBATIM)
endfunction()
