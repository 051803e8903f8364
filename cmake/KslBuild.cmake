# SPDX-License-Identifier: Apache-2.0
# What every target of the tree shares: language levels, warnings, output folders.

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# A changed library is loaded by the programs that are there; linking them again would only take time.
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()
# -O3 makes nothing here faster, only larger.
foreach(language C CXX)
  string(REPLACE -O3 -O2 CMAKE_${language}_FLAGS_RELEASE "${CMAKE_${language}_FLAGS_RELEASE}")
endforeach()

set(KSL_WARNINGS -Wall -Wextra -Wconversion -Wshadow -Werror)
# g++ 12 sees overlapping copies inside std::string that are not there.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  list(APPEND KSL_WARNINGS -Wno-restrict)
endif()

if(KSL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Its run-time library comes between a program and dlopen(). Inside the program, which is where clang puts it, it
    # would look for libraries along the program's search path; apart, it has none, as libksl.so.
    set(runtime libclang_rt.asan-${CMAKE_SYSTEM_PROCESSOR}.so)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
                    OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    cmake_path(GET runtime PARENT_PATH runtime_folder)
    add_link_options(-shared-libasan LINKER:-rpath,${runtime_folder})
  endif()
endif()

if(KSL_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "Fuzzers need clang: configure with the preset \"sanitize\", or with KSL_BUILD_FUZZERS=OFF.")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(KSL_COVERAGE)
  # The counters' own code, for whatever links the instrumented objects.
  add_link_options(--coverage)
endif()

# The hub is a 32-bit PowerPC with pages of 4 KiB. Aligning segments to larger pages would only make its libraries
# larger. Other machines keep their linker's alignment: their loaders refuse a library that is aligned to less than a page.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(powerpc|ppc)$" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(KSL_PAGE_SIZE -Wl,-z,max-page-size=4096)
else()
  set(KSL_PAGE_SIZE "")
endif()

# The platform's libraries are found by their exact names, so no version goes into a soname.
function(ksl_shared_library target)
  add_library(${target} SHARED ${ARGN})
  target_compile_options(${target} PRIVATE ${KSL_WARNINGS})
  target_link_options(${target} PRIVATE ${KSL_PAGE_SIZE})
endfunction()

function(ksl_static_library target)
  add_library(${target} STATIC ${ARGN})
  target_compile_options(${target} PRIVATE ${KSL_WARNINGS})
endfunction()

function(ksl_executable target)
  add_executable(${target} ${ARGN})
  target_compile_options(${target} PRIVATE ${KSL_WARNINGS})
endfunction()
