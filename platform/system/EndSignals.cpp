#include "EndSignals.h"

#if defined(_WIN32)

#include <windows.h>

namespace
{

HANDLE g_hEnd = nullptr;

BOOL WINAPI OnConsoleEvent(DWORD /*nEvent*/)
{
    ::SetEvent(g_hEnd);
    return TRUE;
}

} // namespace

EndSignals::EndSignals()
{
    g_hEnd = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

EndSignals::~EndSignals()
{
    ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    ::CloseHandle(g_hEnd);
}

void EndSignals::Wait() const
{
    ::WaitForSingleObject(g_hEnd, INFINITE);
}

#else

// Blocks the signals on this thread and on those that it creates later, so that they can be waited for. They
// stay blocked: another signal while the program ends would otherwise kill it just before it is done.
EndSignals::EndSignals()
{
    sigemptyset(&m_ends);
    sigaddset(&m_ends, SIGTERM);
    sigaddset(&m_ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &m_ends, nullptr);
}

void EndSignals::Wait() const
{
    int nSignal = 0;
    sigwait(&m_ends, &nSignal);
}

#endif
