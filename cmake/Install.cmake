# What is installed, on both systems, by component: runtime (the libraries), development (what is needed to build a
# host), testing (the test kit), tools (the programs), documentation.
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
  COMPONENT development PATTERN testing EXCLUDE)

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
  set(component development)
  if(ARGC GREATER 5)
    set(component ${ARGV5})
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
endfunction()
kts_install_pc(ktshttpagent "${PROJECT_DESCRIPTION}" "Qt5Core >= 5.15" "-lktshttpagent" "-fPIC") # Qt demands it
kts_install_pc(chttpclient "The asynchronous transport of ktshttpagent" "" "-lchttpclient" "")
set(clog -lclog)
if(WIN32)
  set(clog -llibclog) # its import library is called liblibclog.dll.a
endif()
kts_install_pc(libclog "The log of ktshttpagent" "" ${clog} "")

# The component testing: the test kit.
install(TARGETS ktshttpagent_testing EXPORT ktshttpagentTestingTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT testing
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ktshttpagent/testing
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ktshttpagent COMPONENT testing)
install(EXPORT ktshttpagentTestingTargets NAMESPACE ktshttpagent:: DESTINATION ${package_dir} COMPONENT testing)
file(RELATIVE_PATH programs_from_package ${CMAKE_INSTALL_PREFIX}/${package_dir} ${CMAKE_INSTALL_FULL_BINDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/ktshttpagent-testing.cmake.in
  ${PROJECT_BINARY_DIR}/ktshttpagent-testing.cmake @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ktshttpagent-testing.cmake DESTINATION ${package_dir} COMPONENT testing)
kts_install_pc(ktshttpagent-testing "The test kit of ktshttpagent" "ktshttpagent chttpclient Qt5Network"
  "-lktshttpagent-testing" "" testing)

if(KTS_BUILD_APPS)
  if(NOT WIN32)
    file(RELATIVE_PATH libraries_from_programs ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(ktsagent ktslabserver PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_programs}")
  endif()
  if(NOT CMAKE_CROSSCOMPILING AND NOT KTS_SANITIZE AND NOT KTS_COVERAGE) # the build runs a program that writes them
    add_subdirectory(packaging/pages)
  endif()
  install(TARGETS ktsagent ktslabserver RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()

# Each page keeps its place relative to the others, so that their links hold.
foreach(page IN ITEMS README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE packaging/windows/README.md
    packaging/sbom/licences.tsv)
  cmake_path(GET page PARENT_PATH folder)
  install(FILES ${PROJECT_SOURCE_DIR}/${page} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder} COMPONENT documentation
    OPTIONAL)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation
  PATTERN Doxyfile EXCLUDE PATTERN build_site.sh EXCLUDE PATTERN site EXCLUDE)
# The headers lie elsewhere than in the source tree, so the links to them are written anew.
file(RELATIVE_PATH headers_from_pages ${CMAKE_INSTALL_FULL_DOCDIR} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
install(CODE "
  set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DOCDIR}\")
  file(GLOB pages \"\${folder}/*.md\" \"\${folder}/docs/*.md\")
  foreach(page IN LISTS pages)
    file(READ \"\${page}\" text)
    string(REGEX REPLACE \"(\\\\]\\\\((\\\\.\\\\./)?)include/\" \"\\\\1${headers_from_pages}/\" text \"\${text}\")
    file(WRITE \"\${page}\" \"\${text}\")
  endforeach()" COMPONENT documentation)
