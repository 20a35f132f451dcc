# The packages that KTS_WINDOWS_PREFIX contains as plain headers and libraries, with the same target names as on Linux.

add_library(spdlog::spdlog INTERFACE IMPORTED)
target_include_directories(spdlog::spdlog INTERFACE ${KTS_WINDOWS_PREFIX}/include)
# Wide file names: the name of a user's folder may contain any characters.
target_compile_definitions(spdlog::spdlog INTERFACE SPDLOG_FMT_EXTERNAL FMT_HEADER_ONLY SPDLOG_WCHAR_FILENAMES)
add_library(kts_spdlog INTERFACE)
target_link_libraries(kts_spdlog INTERFACE spdlog::spdlog)

add_library(CLI11::CLI11 INTERFACE IMPORTED)
target_include_directories(CLI11::CLI11 INTERFACE ${KTS_WINDOWS_PREFIX}/include)

add_library(PkgConfig::httplib INTERFACE IMPORTED)
target_include_directories(PkgConfig::httplib INTERFACE ${KTS_WINDOWS_PREFIX}/include)
target_link_libraries(PkgConfig::httplib INTERFACE ws2_32)

set(RAPIDJSON_INCLUDE_DIRS ${KTS_WINDOWS_PREFIX}/include)

# Boost is used as headers only, which are the same on every system. A link makes them visible without the native
# system's other headers.
set(Boost_INCLUDE_DIRS ${PROJECT_BINARY_DIR}/boost_headers)
file(MAKE_DIRECTORY ${Boost_INCLUDE_DIRS})
file(CREATE_LINK /usr/include/boost ${Boost_INCLUDE_DIRS}/boost SYMBOLIC)

# All DLLs that the programs need next to them: the build copies them there, and packages contain them.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++-6.dll
  OUTPUT_VARIABLE compiler_runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(compiler_runtime ${compiler_runtime} DIRECTORY)
set(KTS_WINDOWS_RUNTIME
  ${compiler_runtime}/libstdc++-6.dll
  ${compiler_runtime}/libgcc_s_seh-1.dll
  /usr/x86_64-w64-mingw32/lib/libwinpthread-1.dll
  ${KTS_WINDOWS_PREFIX}/bin/Qt5Core.dll
  ${KTS_WINDOWS_PREFIX}/bin/Qt5Network.dll
  ${KTS_WINDOWS_PREFIX}/bin/libcurl.dll
  ${KTS_WINDOWS_PREFIX}/bin/libjsoncpp.dll
)
# Qt's test library is needed by the tests only, and is not part of a package.
file(COPY ${KTS_WINDOWS_RUNTIME} ${KTS_WINDOWS_PREFIX}/bin/Qt5Test.dll DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
