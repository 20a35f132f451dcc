#pragma once

/// A function with an unmangled name that a shared library may lack, because a site has replaced that
/// library.
/// @param szLibrary  the library's name without suffix: "chttpclient"
/// @return null if the library is not loaded or has no such function
void* FindOptionalFunction(const char* szLibrary, const char* szName);
