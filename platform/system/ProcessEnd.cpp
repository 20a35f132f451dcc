#include "ProcessEnd.h"

#include <cstdlib>

#if defined(_WIN32)

#include "NeverDestroyed.h"

#include <windows.h>

#include <mutex>
#include <utility>
#include <vector>

namespace
{

/// A function of a DLL; null when the DLL is not loaded or does not have it.
template <class Function>
Function Find(const wchar_t* szLibrary, const char* szName)
{
    const HMODULE hLibrary = ::GetModuleHandleW(szLibrary);
    const FARPROC pFound = hLibrary == nullptr ? nullptr : ::GetProcAddress(hLibrary, szName);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(pFound));
}

struct EndHandlers {
    std::mutex mutex;
    std::vector<void (*)()> vecCalls;
};

EndHandlers& Handlers()
{
    static const NeverDestroyed<EndHandlers> handlers; // the end of the process is what it is for
    return *handlers;
}

/// Called by each C runtime once for each handler. A handler that an earlier call has run is not run again.
int __cdecl CallLast()
{
    void (*pfnCall)() = nullptr;
    {
        const std::lock_guard<std::mutex> lock(Handlers().mutex);
        if (!Handlers().vecCalls.empty()) {
            pfnCall = Handlers().vecCalls.back();
            Handlers().vecCalls.pop_back();
        }
    }
    if (pfnCall != nullptr) {
        pfnCall();
    }
    return 0;
}

} // namespace

void StayLoaded()
{
    HMODULE hSelf = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                         reinterpret_cast<const wchar_t*>(&CallLast), &hSelf);
}

bool AtProcessEnd(void (*pfnCall)())
{
    StayLoaded();
    {
        const std::lock_guard<std::mutex> lock(Handlers().mutex);
        Handlers().vecCalls.push_back(pfnCall);
    }
    using Handler = int(__cdecl*)();
    // The C runtime of MinGW's programs, and that of programs made by newer compilers.
    const auto pfnOnExit = Find<Handler(__cdecl*)(Handler)>(L"msvcrt.dll", "_onexit");
    const auto pfnAtExit = Find<int(__cdecl*)(Handler)>(L"ucrtbase.dll", "_crt_atexit");
    const bool bTakenByOld = pfnOnExit != nullptr && pfnOnExit(&CallLast) != nullptr;
    const bool bTakenByNew = pfnAtExit != nullptr && pfnAtExit(&CallLast) == 0;
    return bTakenByOld || bTakenByNew;
}

bool ThreadsAreGone()
{
    static const auto pfnInProgress = Find<BOOLEAN(NTAPI*)()>(L"ntdll.dll", "RtlDllShutdownInProgress");
    return pfnInProgress != nullptr && pfnInProgress() != FALSE;
}

#else

bool AtProcessEnd(void (*pfnCall)())
{
    return std::atexit(pfnCall) == 0;
}

void StayLoaded() {}

bool ThreadsAreGone()
{
    return false;
}

#endif
