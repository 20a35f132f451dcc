# Compile options for every target of this project. A target gets them by linking kts_options.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
if(WIN32)
  set(CMAKE_SHARED_LIBRARY_PREFIX "") # a DLL has the name of its target
  add_compile_options(-g) # for the separate debug files of the zip
endif()

add_library(kts_options INTERFACE)
target_compile_options(kts_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(PROJECT_IS_TOP_LEVEL)
  target_compile_options(kts_options INTERFACE -Werror)
endif()
target_include_directories(kts_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
if(WIN32)
  # Windows 7 and later; headers without rarely used parts and without the macros min and max.
  target_compile_definitions(kts_options INTERFACE _WIN32_WINNT=0x0601 WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE)
endif()

if(KTS_SANITIZE)
  # All code of this build is instrumented; packages that CMake finds are not. A report names functions and
  # lines, which -g1 is enough for; full debug information makes a compilation a tenth slower.
  add_compile_options(-fsanitize=${KTS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=${KTS_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    # As GCC does, and C++ since 2014. Without it, a program's own operator delete with a size is hidden from libraries.
    add_compile_options(-fsized-deallocation)
    add_compile_options(-fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/undefined-behaviour.txt)
    # Tests ask by GCC's name whether they are built with it; clang 14 does not define it.
    add_compile_definitions(__SANITIZE_ADDRESS__=1)
    if(NOT KTS_SANITIZE MATCHES fuzzer)
      # Programs load the sanitizer as a library. If it were part of them, the linker's --wrap, by which tests let calls
      # of the system fail, would also replace the sanitizer's own calls. Fuzzers must contain it.
      execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
        OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
      add_link_options(-shared-libsan -Wl,-rpath,${runtime})
    endif()
  endif()
endif()

# kts_compile_as_one(target): several files of the target are compiled as one, because most of the time goes into headers
# and templates that all of them use.
function(kts_compile_as_one target)
  if(KTS_COMPILE_AS_ONE)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
    # GCC takes a class in an unnamed namespace of an included file for one that other files see too.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endfunction()

# kts_room(target): the same for the library's own code, but only with sanitizers, for Windows, or where a preset asks for
# it. Otherwise each file is compiled by itself, so that a change costs one file; where the tests are built too, the
# headers of the standard library are parsed once for all of them. Whether each file includes what it uses is seen by
# ./dev tidy, for which no headers are parsed in advance, and by builds without tests.
function(kts_room target)
  if(KTS_SANITIZE OR WIN32 OR KTS_COMPILE_ROOMS_AS_ONE)
    kts_compile_as_one(${target})
  elseif(KTS_BUILD_TESTS AND NOT KTS_COVERAGE)
    if(NOT TARGET kts_standard_headers) # the target is for nothing else
      # Without <iostream>, which gives each file that includes it an object that the end of the process destroys.
      file(CONFIGURE OUTPUT StandardHeaders.cpp CONTENT "// Nothing of its own.\n")
      add_library(kts_standard_headers OBJECT ${CMAKE_CURRENT_BINARY_DIR}/StandardHeaders.cpp)
      target_link_libraries(kts_standard_headers PRIVATE kts_options)
      target_precompile_headers(kts_standard_headers PRIVATE
        <algorithm> <atomic> <chrono> <condition_variable> <filesystem> <fstream> <functional> <map> <memory> <mutex>
        <optional> <sstream> <string> <thread> <vector>)
    endif()
    target_precompile_headers(${target} REUSE_FROM kts_standard_headers)
  endif()
endfunction()

# kts_seldom_used(target): with sanitizers, optimising this target would take longer than it saves.
function(kts_seldom_used target)
  if(KTS_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

if(KTS_COVERAGE)
  # Counts are kept in memory-mapped files (%c), one for each program or library (%m), so that they survive a process
  # that is killed, and so that thousands of processes need no more disk space than one. Several processes and threads
  # count at the same time, hence atomically.
  set(counts -fprofile-instr-generate=${PROJECT_BINARY_DIR}/counts/%c%m.profraw)
  add_compile_options(
    ${counts} -fcoverage-mapping -fprofile-update=atomic "SHELL:-mllvm -runtime-counter-relocation")
  add_link_options(${counts})
endif()

# Makes a shared library one that hosts may use: with the include folder of the public headers, and on Linux with the
# major version in the name under which it is loaded.
function(kts_public_library target)
  add_library(ktshttpagent::${target} ALIAS ${target})
  target_compile_features(${target} INTERFACE cxx_std_17)
  target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
  if(NOT WIN32)
    set_target_properties(${target} PROPERTIES
      VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN")
  endif()
endfunction()

# Makes a shared library export exactly what its list in cmake/exports names. Windows does not need this: there only
# what a header marks as exported is exported.
function(kts_export_only target list)
  set(map ${PROJECT_SOURCE_DIR}/cmake/exports/${list}.map)
  target_link_options(${target} PRIVATE $<$<PLATFORM_ID:Linux>:-Wl,--version-script=${map}>)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
