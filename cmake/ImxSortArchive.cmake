# Makes the archive again with its files in the order of their names: CPack takes that of the disk.
cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH folder)
cmake_path(GET CPACK_TEMPORARY_DIRECTORY FILENAME top)
file(GLOB_RECURSE files RELATIVE ${folder} ${folder}/${top}/*)
file(REMOVE ${CPACK_PACKAGE_FILES})
execute_process(COMMAND ${CMAKE_COMMAND} -E tar cf ${CPACK_PACKAGE_FILES} --format=zip ${files}
  WORKING_DIRECTORY ${folder} COMMAND_ERROR_IS_FATAL ANY)
