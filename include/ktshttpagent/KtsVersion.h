#pragma once

/// @file
/// The version of the library: of these headers as macros, and of the library that a program has loaded as
/// functions. The two may differ, since another build of the library can take the place of the one that the
/// program was linked with. What may change from one version to the next is told in docs/compatibility.md.

#include "KtsExport.h"

/// Rises with changes that hosts have to be adapted to; the file names of the libraries contain it.
#define KTSHTTPAGENT_VERSION_MAJOR 0
/// Rises with new features.
#define KTSHTTPAGENT_VERSION_MINOR 2
/// Rises with corrections.
#define KTSHTTPAGENT_VERSION_PATCH 0

/// A version as one number, which is greater for a later version: for example
/// `#if KTSHTTPAGENT_VERSION_NUMBER >= KTSHTTPAGENT_VERSION_OF(0, 2, 0)`.
#define KTSHTTPAGENT_VERSION_OF(nMajor, nMinor, nPatch) ((nMajor)*1000000 + (nMinor)*1000 + (nPatch))
/// The version of these headers as one number.
#define KTSHTTPAGENT_VERSION_NUMBER                                                                          \
    KTSHTTPAGENT_VERSION_OF(KTSHTTPAGENT_VERSION_MAJOR, KTSHTTPAGENT_VERSION_MINOR,                          \
                            KTSHTTPAGENT_VERSION_PATCH)

/// The version of the loaded library, for example "0.2.0". May be called from any thread.
/// @return a text that is valid while the library is loaded
KTSHTTPAGENT_API const char* KtsVersion() noexcept;

/// The same as one number, as `KTSHTTPAGENT_VERSION_OF` makes it. May be called from any thread.
KTSHTTPAGENT_API int KtsVersionNumber() noexcept;
