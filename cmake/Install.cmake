# What is installed, on both systems, by component: runtime (the libraries), development (what is needed to build a
# host), tools (the programs), documentation.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ktshttpagent)
set(libraries ktshttpagent chttpclient libclog)

install(TARGETS ${libraries} EXPORT ktshttpagentTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ktshttpagent DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)

# The CMake package.
install(EXPORT ktshttpagentTargets NAMESPACE ktshttpagent:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ktshttpagentConfig.cmake.in
  ${PROJECT_BINARY_DIR}/ktshttpagentConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ktshttpagentConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktshttpagentConfig.cmake ${PROJECT_BINARY_DIR}/ktshttpagentConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The files for pkg-config. They name folders by their way from the file, so that a prefix may be moved.
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pc ${prefix_from_pc})
function(kts_install_pc name description requires library flags)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
set(log_library -l:libclog.so) # its name does not begin with lib and a name of its own
if(WIN32)
  set(log_library -llibclog)
endif()
kts_install_pc(ktshttpagent "${PROJECT_DESCRIPTION}" "Qt5Core >= 5.15" "-lktshttpagent" "-fPIC") # Qt demands it
kts_install_pc(chttpclient "The asynchronous transport of ktshttpagent" "" "-lchttpclient" "")
kts_install_pc(libclog "The log of ktshttpagent" "" "${log_library}" "")

if(KTS_BUILD_APPS)
  if(NOT WIN32)
    file(RELATIVE_PATH libraries_from_programs ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(ktsagent ktslabserver PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_programs}")
  endif()
  install(TARGETS ktsagent ktslabserver RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()

foreach(page IN ITEMS README.md CHANGELOG.md SECURITY.md)
  install(FILES ${PROJECT_SOURCE_DIR}/${page} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation OPTIONAL)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation PATTERN Doxyfile EXCLUDE)
