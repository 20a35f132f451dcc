# Some libraries are not built for the thread sanitizer. Every program that uses one of them is linked with a file that
# tells the sanitizer about it: ThreadSanitizer.cpp and QtForThreadSanitizer.cpp say what, and why.
if(NOT KTS_SANITIZE MATCHES thread)
  function(kts_tell_thread_sanitizer)
  endfunction()
  return()
endif()

set(support ${PROJECT_SOURCE_DIR}/tests/support)
add_library(kts_thread_sanitizer OBJECT ${support}/ThreadSanitizer.cpp)
target_link_libraries(kts_thread_sanitizer PRIVATE kts_options)

# kts_tell_thread_sanitizer(TARGET [OBJECTS...]): adds these files to every program that links the target.
function(kts_tell_thread_sanitizer target)
  foreach(objects kts_thread_sanitizer ${ARGN})
    set_property(TARGET ${target} APPEND PROPERTY INTERFACE_SOURCES
      $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:${objects}>>)
  endforeach()
endfunction()

if(KTS_WITH_QT)
  add_library(kts_qt_for_thread_sanitizer OBJECT ${support}/QtForThreadSanitizer.cpp)
  target_link_libraries(kts_qt_for_thread_sanitizer PRIVATE kts_options)
  target_include_directories(kts_qt_for_thread_sanitizer SYSTEM PRIVATE
    $<TARGET_PROPERTY:Qt5::Core,INTERFACE_INCLUDE_DIRECTORIES>)
  kts_tell_thread_sanitizer(Qt5::Core kts_qt_for_thread_sanitizer)
endif()
