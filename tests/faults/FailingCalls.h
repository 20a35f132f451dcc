#pragma once

#include <cstddef>
#include <string>

/// Makes one call of the transport fail: the nth call from now on of those with the given name. The names are
/// those of libcurl's functions, "atexit", "pthread_create", "malloc" for libcurl's own allocations, and
/// "operator new" for allocations on threads that were started while a failure was armed or since
/// `WatchThreads`. A test program has one failure at a time. All functions may be called from any thread.

/// @param szCall     must stay valid: a literal
/// @param nFailures  how many calls fail in a row
void ArmFailure(const char* szCall, std::size_t nNth, std::size_t nFailures = 1);

/// Ends the failures.
/// @return how many calls have failed
std::size_t DisarmFailure();

/// Allocations of threads that are started from now on count as "operator new". Start the threads of the test
/// and of its servers before, or while it is off.
void WatchThreads(bool bOn);

/// Takes control of libcurl's allocations; call it before anything else initialises libcurl.
/// @return whether libcurl accepts that
bool WatchLibcurlAllocations();

/// The trusted authorities that were last set for a handle of libcurl.
/// @param nOption  CURLOPT_CAINFO, CURLOPT_CAPATH, CURLOPT_PROXY_CAINFO or CURLOPT_PROXY_CAPATH
/// @return the text; "null" for a null pointer, "default" when nothing was set
std::string LastTrust(int nOption);
