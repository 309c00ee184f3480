add_library(pellora_rulemgr STATIC
    ${CMAKE_CURRENT_LIST_DIR}/HostMemory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/RuleMgr.cpp)
target_link_libraries(pellora_rulemgr
    PRIVATE pellora_options pellora_rules_gdi pellora_logging
    PUBLIC pellora_rules)

pellora_add_test(NAME rulemgr_tests
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/RuleMgrTest.cpp
    LIBRARIES pellora_rulemgr)
