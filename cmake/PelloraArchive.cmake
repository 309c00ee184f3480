# Run by cpack: packs what it laid out.
execute_process(
    COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/../tools/archive.py ${CPACK_TEMPORARY_DIRECTORY}
        ${CPACK_PACKAGE_DIRECTORY} ${CPACK_PACKAGE_FILE_NAME}
    COMMAND_ERROR_IS_FATAL ANY)
