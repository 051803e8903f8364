# SPDX-License-Identifier: Apache-2.0
# What the loader sees of libtrace_kbuf.so: its name, what it needs, what it offers.
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

string(REGEX MATCHALL "NEEDED[^\n]*\\[[^]\n]*" needed "${dynamic}")
list(TRANSFORM needed REPLACE ".*\\[" "")
expect("needed" "${needed}" "libc.so.6")

string(REGEX MATCHALL "SONAME[^\n]*\\[[^]\n]*" soname "${dynamic}")
list(TRANSFORM soname REPLACE ".*\\[" "")
expect("soname" "${soname}" "libtrace_kbuf.so")

string(REGEX MATCHALL "(^|\n)[^ \n]+" exported "${symbols}")
list(TRANSFORM exported STRIP)
list(SORT exported)
expect("exported" "${exported}"
       "trace_kbuf_copy;trace_kbuf_free;trace_kbuf_init_buffer;trace_kbuf_write_all;trace_kbuf_write_ints5;trace_kbuf_write_ints9")
