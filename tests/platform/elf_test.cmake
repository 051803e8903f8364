# SPDX-License-Identifier: Apache-2.0
# What the loader sees of a library: its name, what it needs, and what it offers, each symbol with its type.
# Called with READELF, NM and LIBRARY, and with what is expected: SONAME, EXPORTED and, where it is to be looked at, NEEDED,
# as lists with spaces.
foreach(pair "dynamic;${READELF};-d" "symbols;${NM};-D;--defined-only;--format=posix")
  list(POP_FRONT pair variable)
  execute_process(COMMAND ${pair} ${LIBRARY} OUTPUT_VARIABLE ${variable} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

function(expect what found expected)
  list(SORT found)
  list(JOIN found " " found)
  if(NOT "${found}" STREQUAL "${expected}")
    message(SEND_ERROR "${what}: ${found}; expected: ${expected}")
  endif()
endfunction()

foreach(tag SONAME NEEDED)
  if(DEFINED ${tag})
    string(REGEX MATCHALL "[(]${tag}[)][^\n]*\\[[^]\n]*" found "${dynamic}")
    list(TRANSFORM found REPLACE ".*\\[" "")
    expect(${tag} "${found}" "${${tag}}")
  endif()
endforeach()

string(REGEX MATCHALL "(^|\n)[^ \n]+ [^ \n]+" exported "${symbols}")
list(TRANSFORM exported STRIP)
expect(EXPORTED "${exported}" "${EXPORTED}")
