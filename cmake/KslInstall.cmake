# SPDX-License-Identifier: Apache-2.0
# Where things are installed, and what else belongs into an installed tree. Its components are library, development,
# tools and simulator.

# The simulated hub and the trace library bear the names of the platform's own: they have a folder where no loader
# looks unless it is told to.
set(KSL_SIMULATOR_FOLDER ksl/simulator)
set(KSL_INSTALL_SIMULATORDIR ${CMAKE_INSTALL_LIBDIR}/${KSL_SIMULATOR_FOLDER})
# In the build folder they are next to the others, and the same name leads to them.
file(MAKE_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/ksl)
file(CREATE_LINK .. ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${KSL_SIMULATOR_FOLDER} SYMBOLIC)

# ---- For programs that use the library ----

include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ksl)
configure_package_config_file(packaging/kslConfig.cmake.in ${CMAKE_BINARY_DIR}/packaging/kslConfig.cmake
  INSTALL_DESTINATION ${package_folder}
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR KSL_INSTALL_SIMULATORDIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/packaging/kslConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/packaging/kslConfig.cmake ${CMAKE_BINARY_DIR}/packaging/kslConfigVersion.cmake
  DESTINATION ${package_folder} COMPONENT development)

# They name their places by their own, so that the tree can be moved.
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_folder} /)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
set(descriptions ksl)
if(KSL_BUILD_PLATFORM)
  list(APPEND descriptions trace_kbuf trace_kbuf_reader)
endif()
foreach(name ${descriptions})
  configure_file(packaging/${name}.pc.in ${CMAKE_BINARY_DIR}/packaging/${name}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/packaging/${name}.pc DESTINATION ${pkgconfig_folder} COMPONENT development)
endforeach()

# ---- For readers ----

install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/ksl COMPONENT development)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT licence)

# ---- For shells ----

# ksl_completions(FOLDER NAME SHELL): NAME may hold the program's.
function(ksl_completions folder name shell)
  foreach(program kslctl ksltrace)
    string(REPLACE PROGRAM ${program} file ${name})
    configure_file(${PROJECT_SOURCE_DIR}/packaging/completions/${shell}.in ${CMAKE_BINARY_DIR}/share/${folder}/${file} @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/share/${folder}/${file}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder} COMPONENT tools)
  endforeach()
endfunction()
if(KSL_BUILD_TOOLS)
  ksl_completions(bash-completion/completions PROGRAM bash)
  ksl_completions(zsh/vendor-completions _PROGRAM zsh)
  ksl_completions(fish/vendor_completions.d PROGRAM.fish fish)
endif()
