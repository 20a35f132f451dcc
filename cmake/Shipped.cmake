# kts_shipped(TARGET DESCRIPTION): a library or program that others are given. On Windows it tells its version and the
# description, as the tab "Details" of the Explorer shows them; it is compiled with debug information, which
# packaging/windows/make_zip.sh moves to a file of its own; and the linker lists what it read, for the test of licences.
# On Linux the package's build does what is needed.
function(kts_shipped target description)
  if(NOT WIN32)
    return()
  endif()
  target_link_options(${target} PRIVATE -Wl,-Map=${PROJECT_BINARY_DIR}/shipped/${target}.map)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL EXECUTABLE)
    set(kind VFT_APP)
    set(file ${target}.exe)
  else()
    set(kind VFT_DLL)
    set(file ${target}.dll)
  endif()
  set(resource ${PROJECT_BINARY_DIR}/shipped/${target})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource}.rc @ONLY)
  # Compiled here and not as a source of the target, because windres does not take the C++ compiler's options.
  add_custom_command(OUTPUT ${resource}.res.o
    COMMAND ${CMAKE_RC_COMPILER} --input-format=rc --output-format=coff ${resource}.rc ${resource}.res.o
    DEPENDS ${resource}.rc
    VERBATIM)
  set_source_files_properties(${resource}.res.o PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)
  target_sources(${target} PRIVATE ${resource}.res.o)
endfunction()
