# imx_test(): a GoogleTest program that ./test finds.
#
#   imx_test(NAME name SOURCES file... [LINKS target...] [SERIAL] [SUITE suite])
#
# The program stands in the build's tests folder beside its other results (out/linux/tests,
# out/win32/tests, ...); `programs.txt` there names what this configuration has, so that leftovers of
# earlier ones are never run. SERIAL is for programs that need the screen or the Wine prefix to
# themselves: they run after all others, one at a time. SUITE names another folder beside the build's
# results, whose tests `./test` runs once and not for each configuration. Under the runner a program has an empty current
# directory of its own. IMX_SOURCE_DIR (a macro) is the checkout's path.

find_package(GTest REQUIRED)

if(CMAKE_RUNTIME_OUTPUT_DIRECTORY)
  set(IMX_TEST_DIR ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/tests)
else()
  set(IMX_TEST_DIR ${CMAKE_BINARY_DIR}/tests)
endif()
file(WRITE ${IMX_TEST_DIR}/programs.txt "")

function(imx_test)
  cmake_parse_arguments(TEST "SERIAL" "NAME;SUITE" "SOURCES;LINKS" ${ARGN})
  if(NOT TEST_NAME OR NOT TEST_SOURCES OR TEST_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "imx_test: NAME and SOURCES are needed; not understood: "
                        "'${TEST_UNPARSED_ARGUMENTS}'")
  endif()
  set(folder ${IMX_TEST_DIR})
  if(TEST_SUITE)
    cmake_path(SET folder NORMALIZE ${IMX_TEST_DIR}/../../${TEST_SUITE}/tests)
  endif()
  add_executable(${TEST_NAME} ${TEST_SOURCES})
  target_link_libraries(${TEST_NAME} PRIVATE imx_flags ${TEST_LINKS} GTest::gmock GTest::gtest_main)
  target_compile_definitions(${TEST_NAME} PRIVATE IMX_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  set_target_properties(${TEST_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder})

  set(schedule parallel)
  if(TEST_SERIAL)
    set(schedule serial)
  endif()
  file(APPEND ${folder}/programs.txt "${TEST_NAME}${CMAKE_EXECUTABLE_SUFFIX} ${schedule}\n")
endfunction()
