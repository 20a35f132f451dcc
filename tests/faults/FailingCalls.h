#pragma once

#include <cstddef>
#include <string>

/// Makes one call of the transport fail: the nth from now on of those that bear the name. The names are those
/// of libcurl's functions, "atexit", "pthread_create", "malloc" for libcurl's own allocations, and "operator
/// new" for allocations on threads that were started while a failure was armed or since `WatchThreads`. A
/// test program has one failure at a time. All functions may be called from any thread.

/// @param szCall     a text that stays, a literal
/// @param nFailures  how many calls fail in a row
void ArmFailure(const char* szCall, std::size_t nNth, std::size_t nFailures = 1);

/// Ends the failures.
/// @return how many calls have failed
std::size_t DisarmFailure();

/// Allocations of threads that are started from now on count as "operator new". Threads of the test and of
/// its servers are to be started before, or while it is off.
void WatchThreads(bool bOn);

/// Puts libcurl's allocations under control; to be called before anything else initialises libcurl.
/// @return whether libcurl takes them
bool WatchLibcurlAllocations();

/// What a handle of libcurl was last told about whom to trust.
/// @param nOption  CURLOPT_CAINFO, CURLOPT_CAPATH, CURLOPT_PROXY_CAINFO or CURLOPT_PROXY_CAPATH
/// @return the text; "null" for a null pointer, "default" when it was told nothing
std::string LastTrust(int nOption);
