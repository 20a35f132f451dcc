# What every library and program is built with so that a mistake in memory does not become an attacker's way in, and so
# that none tells where it was built. Builds with sanitizers have none of it: these find such mistakes themselves, some
# of it would be in their way, and nobody is given what they make.
if(KTS_SANITIZE)
  return()
endif()
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

# Of two that fit, the later one is taken.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Checks in functions of the C library that fill buffers. They need optimisation, so a debug build has none.
set(KTS_FORTIFY -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${KTS_FORTIFY}>")

add_compile_options(-fstack-protector-strong)
if(WIN32)
  add_compile_options(-ffile-prefix-map=${KTS_WINDOWS_PREFIX}=./prefix)
  # The two above call the compiler's libssp. As an archive it is no further DLL for a host's folder.
  string(APPEND CMAKE_CXX_STANDARD_LIBRARIES " -l:libssp.a")
  # Windows touches the pages of a large frame anyhow, and MinGW-w64 can't mark a program for its shadow stacks.
  add_link_options(-Wl,--dynamicbase,--nxcompat,--high-entropy-va)
else()
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
  foreach(flag -fcf-protection=full -fstack-clash-protection) # not every processor has got them
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
