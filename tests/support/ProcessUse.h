#pragma once

#include <cstddef>

/// File descriptors, on Windows handles, that this process has open.
std::size_t OpenDescriptors();
/// Threads that this process has.
std::size_t Threads();
/// Bytes that the process has allocated; always 0 under a sanitizer, which replaces the allocator.
std::size_t HeapBytes();
