# What every target of the tree is compiled with. Link kts_options to get it.

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
  set(CMAKE_SHARED_LIBRARY_PREFIX "") # a DLL is called what its target is called
endif()

add_library(kts_options INTERFACE)
target_compile_options(kts_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
target_include_directories(kts_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
if(WIN32)
  # Windows 7 and later, headers without what nobody here needs, and with names that are no macros.
  target_compile_definitions(kts_options INTERFACE _WIN32_WINNT=0x0601 WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE)
endif()

if(KTS_SANITIZE)
  # Everything in the build carries the sanitizers, what CMake finds as a package does not. A report names functions and
  # lines, which -g1 is enough for; more takes a tenth of the time of a compilation.
  add_compile_options(-fsanitize=${KTS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=${KTS_SANITIZE})
endif()

if(KTS_COVERAGE)
  # Counts stay in mapped files (%c), one a program or library (%m), so that they outlive a process that is killed, and
  # so that thousands of processes need no more room than one. Processes and threads count at once, hence atomically.
  set(counts -fprofile-instr-generate=${PROJECT_BINARY_DIR}/counts/%c%m.profraw)
  add_compile_options(
    ${counts} -fcoverage-mapping -fprofile-update=atomic "SHELL:-mllvm -runtime-counter-relocation")
  add_link_options(${counts})
endif()

# Exports from a shared library what its list in cmake/exports names, and nothing else. On Windows there is no need:
# what a header does not mark as exported is not.
function(kts_export_only target list)
  set(map ${PROJECT_SOURCE_DIR}/cmake/exports/${list}.map)
  target_link_options(${target} PRIVATE $<$<PLATFORM_ID:Linux>:-Wl,--version-script=${map}>)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
