#pragma once

// Makes allocations of the calling thread fail. A program that is linked with this has allocation functions
// of its own: malloc, calloc and realloc, on which all else rests, the libraries' allocations too. Where
// those belong to others it is operator new: under a sanitizer, with realloc as far as the program's own
// objects call it, and on Windows.

/// Lets an allocation of this thread fail.
/// @param nNth     counted from 1, the next one
/// @param bFailsOn whether all after it fail too
void FailAllocation(int nNth, bool bFailsOn);

/// Ends that, and failing on.
void EndFailing() noexcept;

/// Whether one has failed since `FailAllocation`.
bool HasFailed() noexcept;
