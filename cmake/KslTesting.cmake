# SPDX-License-Identifier: Apache-2.0
# GoogleTest comes from the distribution's source package, so that every compiler,
# sanitizer and architecture gets its own build of it.
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(target gtest gtest_main gmock gmock_main)
  target_compile_options(${target} PRIVATE -w -O0)
endforeach()

include(GoogleTest)
include(KslSanitizers)

# What all test programs are compiled with. What is tested is optimized; the tests themselves would only take longer to
# build. Files have 64-bit numbers under the emulator, too.
add_library(ksl_test_options INTERFACE)
target_compile_options(ksl_test_options INTERFACE -O0 ${KSL_WARNINGS})
target_compile_definitions(ksl_test_options INTERFACE _FILE_OFFSET_BITS=64 $<$<BOOL:${KSL_SANITIZE}>:KSL_SANITIZE>)
target_link_libraries(ksl_test_options INTERFACE gmock_main)

# GoogleTest's headers, parsed once for all of them; with the flags of a program, which are not those of a library.
file(WRITE ${CMAKE_BINARY_DIR}/googletest/headers.cpp "")
add_library(ksl_test_headers OBJECT EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/googletest/headers.cpp)
set_target_properties(ksl_test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
target_compile_options(ksl_test_headers PRIVATE -fPIE)
target_link_libraries(ksl_test_headers PRIVATE ksl_test_options)
target_precompile_headers(ksl_test_headers PRIVATE <gmock/gmock.h>)

# Where a process costs more than a test, under the emulator and the sanitizers, tests of ctest are whole programs.
if(CMAKE_CROSSCOMPILING OR KSL_SANITIZE)
  set(KSL_SLOW_PROCESSES ON)
else()
  set(KSL_SLOW_PROCESSES OFF)
endif()

# ksl_test(NAME [SOURCES file...] [LIBRARIES target...] [DEFINITIONS name=value...] [PROCESS_EACH|ONE_PROCESS]): one
# GoogleTest program. Each of its tests is a test of ctest; where processes are slow, or with ONE_PROCESS, the program is
# one test, unless its tests need a process each.
function(ksl_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "PROCESS_EACH;ONE_PROCESS" "" "SOURCES;LIBRARIES;DEFINITIONS")
  add_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} ksl_test_options)
  target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
  target_precompile_headers(${name} REUSE_FROM ksl_test_headers)
  if(arg_PROCESS_EACH OR NOT (arg_ONE_PROCESS OR KSL_SLOW_PROCESSES))
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
  else()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300)
  endif()
endfunction()
