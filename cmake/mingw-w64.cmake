# Cross-builds for 64-bit Windows with Debian's mingw-w64; the tests run under Wine.
# KTS_WINDOWS_PREFIX is the folder into which packaging/windows/dependencies.sh installed Qt, libcurl and the rest.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# The -posix compilers: only their C++ library has std::thread and std::mutex.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT KTS_WINDOWS_PREFIX)
  message(FATAL_ERROR "KTS_WINDOWS_PREFIX is not set: run ./dev windows, or set it to the folder that packaging/windows/dependencies.sh prints")
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KTS_WINDOWS_PREFIX)
set(CMAKE_PREFIX_PATH ${KTS_WINDOWS_PREFIX})
set(ENV{PKG_CONFIG_LIBDIR} ${KTS_WINDOWS_PREFIX}/lib/pkgconfig)

# Never look into /usr: its headers and libraries belong to the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${KTS_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../packaging/windows/wine.sh)
