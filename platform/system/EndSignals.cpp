#include "EndSignals.h"

#include "QuietThread.h"

#include <array>

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

void EndSignals::CountInputEnd() const
{
    const auto await = [] {
        std::array<char, 512> bytes{};
        DWORD nRead = 0;
        do {
            nRead = 0;
            ::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
                       &nRead, nullptr);
        } while (nRead > 0);
        ::SetEvent(g_hEnd);
    };
    StartQuietThread(await).detach();
}

void EndSignals::Wait() const
{
    ::WaitForSingleObject(g_hEnd, INFINITE);
}

bool EndSignals::WaitFor(std::chrono::nanoseconds time) const
{
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(time);
    return ::WaitForSingleObject(g_hEnd, static_cast<DWORD>(milliseconds.count())) == WAIT_OBJECT_0;
}

#else

#include <ctime>

#include <unistd.h>

// Blocks the signals on this thread and on those that it creates later, so that they can be waited for. They
// stay blocked: another signal while the program ends would otherwise kill it just before it is done.
EndSignals::EndSignals()
{
    sigemptyset(&m_ends);
    sigaddset(&m_ends, SIGTERM);
    sigaddset(&m_ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &m_ends, nullptr);
}

void EndSignals::CountInputEnd() const
{
    const auto await = [] {
        std::array<char, 512> bytes{};
        while (::read(STDIN_FILENO, bytes.data(), bytes.size()) > 0) {
        }
        ::kill(::getpid(), SIGTERM);
    };
    StartQuietThread(await).detach();
}

void EndSignals::Wait() const
{
    int nSignal = 0;
    sigwait(&m_ends, &nSignal);
}

bool EndSignals::WaitFor(std::chrono::nanoseconds time) const
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    timespec limit{};
    limit.tv_sec = static_cast<time_t>(seconds.count());
    limit.tv_nsec = static_cast<long>((time - seconds).count());
    return sigtimedwait(&m_ends, nullptr, &limit) > 0;
}

#endif
