#pragma once

// Makes allocations of the calling thread fail. A program that is linked with this replaces malloc, calloc
// and realloc, through which all allocations go, including those of the libraries. Where these can't be
// replaced, it replaces operator new instead: on Windows, and under a sanitizer, there together with the
// calls of realloc in the program's own objects.

/// Makes an allocation of this thread fail.
/// @param nNth     counted from 1, which is the next allocation
/// @param bFailsOn whether all later ones fail too
void FailAllocation(int nNth, bool bFailsOn);

/// Ends all failing.
void EndFailing() noexcept;

/// Whether one has failed since `FailAllocation`.
bool HasFailed() noexcept;
