#pragma once

#include <cstddef>

/// File descriptors, on Windows handles, that this process has open.
std::size_t OpenDescriptors();
/// Threads that this process has.
std::size_t Threads();
/// What the process's allocator has given out; always 0 where a sanitizer has one in its place.
std::size_t HeapBytes();
