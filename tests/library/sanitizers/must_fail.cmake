# SPDX-License-Identifier: Apache-2.0
# cmake -D PROGRAM=... -D ARGUMENT=... -D MESSAGE=... -P must_fail.cmake: passes where the program fails and says why.
execute_process(COMMAND ${PROGRAM} ${ARGUMENT} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
message("${output}")
if(result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ${ARGUMENT} did not fail")
elseif(NOT output MATCHES "${MESSAGE}")
  message(FATAL_ERROR "${PROGRAM} ${ARGUMENT} failed (${result}), but did not say: ${MESSAGE}")
endif()
