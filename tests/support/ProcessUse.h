#pragma once

#include <cstddef>

/// File descriptors, on Windows handles, that this process has open.
std::size_t OpenDescriptors();
/// Threads that this process has.
std::size_t Threads();
/// Bytes that the process has allocated; always 0 under a sanitizer, which replaces the allocator.
std::size_t HeapBytes();
#if !defined(_WIN32)
/// How often threads of the process have gone to sleep so far. Each further sleep follows a wake-up.
long Sleeps();
#endif
