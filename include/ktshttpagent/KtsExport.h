#pragma once

/// @file
/// The macro that marks what the library exports. A host never includes this header itself: the headers
/// that need it include it.

/// @def KTSHTTPAGENT_API
/// Marks what the shared library ktshttpagent exports to its hosts; everything else stays hidden.
#if defined(_WIN32)
#if defined(KTSHTTPAGENT_BUILD)
#define KTSHTTPAGENT_API __declspec(dllexport)
#else
#define KTSHTTPAGENT_API __declspec(dllimport)
#endif
#else
#define KTSHTTPAGENT_API __attribute__((visibility("default")))
#endif
