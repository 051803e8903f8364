# SPDX-License-Identifier: Apache-2.0
# GoogleTest comes from the distribution's source package, so that every compiler,
# sanitizer and architecture gets its own build of it.
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(target gtest gtest_main gmock gmock_main)
  target_compile_options(${target} PRIVATE -w -O0)
endforeach()

include(GoogleTest)

# ksl_test(NAME [SOURCES file...] [LIBRARIES target...]): one GoogleTest program; each of its
# tests is a test of ctest, run under the emulator when cross-compiling.
function(ksl_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES;DEFINITIONS")
  ksl_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} gmock_main)
  target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
  # What is tested is optimized; the tests themselves would only take longer to build.
  target_compile_options(${name} PRIVATE -O0)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
