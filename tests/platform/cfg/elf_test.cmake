# SPDX-License-Identifier: Apache-2.0
# What the loader sees of libkslcfg_file.so: its name, and the only symbol that it offers.
# Called with READELF, NM and LIBRARY.
foreach(pair "dynamic;${READELF};-d" "symbols;${NM};-D;--defined-only;--format=posix")
  list(POP_FRONT pair variable)
  execute_process(COMMAND ${pair} ${LIBRARY} OUTPUT_VARIABLE ${variable} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

function(expect what found expected)
  if(NOT "${found}" STREQUAL "${expected}")
    message(SEND_ERROR "${what}: ${found}; expected: ${expected}")
  endif()
endfunction()

string(REGEX MATCHALL "SONAME[^\n]*\\[[^]\n]*" soname "${dynamic}")
list(TRANSFORM soname REPLACE ".*\\[" "")
expect("soname" "${soname}" "libkslcfg_file.so")

# The type i is the indirect function, which can be missing when it is looked up.
string(REGEX MATCHALL "(^|\n)[^ \n]+ [^ \n]+" exported "${symbols}")
list(TRANSFORM exported STRIP)
expect("exported" "${exported}" "__ksl_get_cfg i")
