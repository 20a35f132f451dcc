#pragma once

#if defined(_WIN32)
#include <windows.h>
#endif

/// Whether this is Wine and not Windows. Under Wine, programs are not told that the other end has reset a
/// connection: they see a normal end, or nothing at all when they have much to send or to receive.
inline bool RunsUnderWine()
{
#if defined(_WIN32)
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
#else
    return false;
#endif
}

/// The error of a connection that the server resets.
/// @param nAtAnEnd  the error of one that ends normally at the same point
inline int ResetError(int nAtAnEnd)
{
    return RunsUnderWine() ? nAtAnEnd : -56;
}
