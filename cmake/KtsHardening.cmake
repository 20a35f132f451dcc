# Options for every library and program, so that attackers can't exploit memory errors, and so that no file contains the
# name of a folder of the build machine. Builds with sanitizers don't use them: sanitizers find such errors themselves,
# some of these options would interfere with them, and such builds are never shipped.
if(KTS_SANITIZE)
  return()
endif()
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

# If both options match a path, the compiler uses the later one.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Checks in functions of the C library that fill buffers. They need optimisation, so a debug build has none.
set(KTS_FORTIFY -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${KTS_FORTIFY}>")

add_compile_options(-fstack-protector-strong)
if(WIN32)
  add_compile_options(-ffile-prefix-map=${KTS_WINDOWS_PREFIX}=./prefix)
  # The fortify and stack protector options call the compiler's libssp. Linked statically, it adds no DLL to a host's
  # folder.
  string(APPEND CMAKE_CXX_STANDARD_LIBRARIES " -l:libssp.a")
  # Windows touches the pages of a large frame in any case, and MinGW-w64 can't mark a program for Windows' shadow
  # stacks.
  add_link_options(-Wl,--dynamicbase,--nxcompat,--high-entropy-va)
  # No file tells when it was linked, so that a second build gives the same files.
  add_link_options(-Wl,--no-insert-timestamp)
else()
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
  foreach(flag -fcf-protection=full -fstack-clash-protection) # not available on every processor
    string(MAKE_C_IDENTIFIER "KTS_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      add_compile_options(${flag})
    endif()
  endforeach()
  check_pie_supported(OUTPUT_VARIABLE why LANGUAGES CXX)
  if(NOT CMAKE_CXX_LINK_PIE_SUPPORTED)
    message(WARNING "Programs will not be position-independent: ${why}")
  endif()
endif()
