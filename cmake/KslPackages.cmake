# SPDX-License-Identifier: Apache-2.0
# The Debian packages that cpack makes: one for each component of the installed tree.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ksl)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each has its own
set(CPACK_PACKAGE_CONTACT "ksl developers <ksl@example.org>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development tools simulator)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${CMAKE_SYSTEM_PROCESSOR})
endif()

# What is in every package. Debian wants a changelog of its own form; its day is that of the sources.
find_program(GZIP gzip REQUIRED)
execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 --format=%cD OUTPUT_VARIABLE package_date
  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT package_date)
  string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
endif()
configure_file(packaging/changelog.in ${CMAKE_BINARY_DIR}/packaging/changelog @ONLY)
execute_process(COMMAND ${GZIP} -9nkf ${CMAKE_BINARY_DIR}/packaging/changelog COMMAND_ERROR_IS_FATAL ANY)

# ksl_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION DEPENDS [SUGGESTS])
function(ksl_package component name section summary description depends)
  string(TOUPPER ${component} upper)
  foreach(setting "PACKAGE_NAME;${name}" "PACKAGE_SECTION;${section}" "DESCRIPTION;${summary}\n${description}"
      "PACKAGE_DEPENDS;${depends}" "PACKAGE_SUGGESTS;${ARGV6}")
    list(POP_FRONT setting key)
    set(CPACK_DEBIAN_${upper}_${key} "${setting}" PARENT_SCOPE)
  endforeach()
  # Of the packages alone: the plain installed tree has the licence once.
  install(FILES packaging/copyright ${CMAKE_BINARY_DIR}/packaging/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

# The newest symbols that are used of the C and C++ libraries; tests/package_test.sh compares.
set(c_library "libc6 (>= 2.34)")
set(cxx_library "libstdc++6 (>= 12), libgcc-s1")
set(same "(= ${PROJECT_VERSION})")
ksl_package(library libksl libs "switch chip of an EPN hub board: library"
"It inspects and configures the 24-port Ethernet switch chips of the board
through the hub's own switch-access library, which it opens at run time, and
writes a numeric trace of what it does. The trace library is the platform's
own, or that of ksl-simulator."
  "${c_library}" "ksl-simulator ${same}")
ksl_package(development libksl-dev libdevel "switch chip of an EPN hub board: development files"
"Headers, manual pages, examples and descriptions for pkg-config and CMake of
the library that inspects and configures the switch chips, and what reads its
traces."
  "libksl ${same}" "ksl-simulator ${same}, ksl-tools ${same}, pkg-config")
ksl_package(tools ksl-tools net "switch chip of an EPN hub board: tools"
"The command kslctl inspects and configures the switch chips from the shell,
ksltrace shows what the library recorded, and a library reads the expected
configuration of a chip from a file."
  "libksl ${same}, ${c_library}, ${cxx_library}" "ksl-simulator ${same}")
ksl_package(simulator ksl-simulator net "switch chip of an EPN hub board: simulated hub"
"A hub made of software, with scenarios and faults, and a trace library. Both
take the place of the platform's own libraries where there is no hub, and only
for programs that are told to look for them: kslctl with its option, others by
their library search path."
  "${c_library}, ${cxx_library}")

# Loaders find the library by its plain name, and know of it at once.
file(WRITE ${CMAKE_BINARY_DIR}/packaging/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/packaging/triggers)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/packaging/triggers)
include(CPack)
