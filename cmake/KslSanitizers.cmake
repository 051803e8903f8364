# SPDX-License-Identifier: Apache-2.0
# KSL_THREAD_SANITIZER is on where programs can be built with the thread sanitizer. 32-bit machines have none, and
# cross-compiled programs do not run under it.
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_FLAGS -fsanitize=thread)
check_cxx_source_compiles("int main() {}" KSL_LINKS_WITH_THREAD_SANITIZER)
unset(CMAKE_REQUIRED_FLAGS)
if(KSL_LINKS_WITH_THREAD_SANITIZER AND NOT CMAKE_CROSSCOMPILING)
  set(KSL_THREAD_SANITIZER ON)
else()
  set(KSL_THREAD_SANITIZER OFF)
endif()
