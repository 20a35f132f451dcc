#include "OptionalFunction.h"

#if defined(_WIN32)

#include <windows.h>

void* FindOptionalFunction(const char* szLibrary, const char* szName)
{
    const HMODULE hLibrary = ::GetModuleHandleA(szLibrary);
    return hLibrary == nullptr ? nullptr : reinterpret_cast<void*>(::GetProcAddress(hLibrary, szName));
}

#else

#include <dlfcn.h>

// Searches the program, and the libraries that the caller's own library was linked with.
void* FindOptionalFunction(const char* /*szLibrary*/, const char* szName)
{
    return ::dlsym(RTLD_DEFAULT, szName);
}

#endif
