#pragma once

#if defined(_WIN32)
#include <windows.h>
#endif

/// Whether this is Windows as Wine plays it. Its programs are not told of a connection that the other end
/// resets: they see its end, or nothing at all where they have much to send or to receive.
inline bool RunsUnderWine()
{
#if defined(_WIN32)
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
#else
    return false;
#endif
}

/// The error of a connection that the server resets.
/// @param nAtAnEnd  the error of one that ends in order at the same place
inline int ResetError(int nAtAnEnd)
{
    return RunsUnderWine() ? nAtAnEnd : -56;
}
