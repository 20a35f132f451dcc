#include "ProcessUse.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#if defined(_WIN32)
#include <windows.h>
// Must follow windows.h, whose types it uses.
#include <tlhelp32.h>
#else
#include <malloc.h>
#endif

#if defined(_WIN32)

std::size_t OpenDescriptors()
{
    DWORD nHandles = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &nHandles);
    return nHandles;
}

std::size_t Threads()
{
    const HANDLE hThreads = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof thread;
    std::size_t nThreads = 0;
    for (BOOL bFound = ::Thread32First(hThreads, &thread); bFound != 0;
         bFound = ::Thread32Next(hThreads, &thread)) {
        nThreads += thread.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    ::CloseHandle(hThreads);
    return nThreads;
}

std::size_t HeapBytes()
{
    const HANDLE hHeap = ::GetProcessHeap();
    PROCESS_HEAP_ENTRY entry{};
    std::size_t nBytes = 0;
    ::HeapLock(hHeap);
    while (::HeapWalk(hHeap, &entry) != 0) {
        nBytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    }
    ::HeapUnlock(hHeap);
    return nBytes;
}

#else

std::size_t OpenDescriptors()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

std::size_t Threads()
{
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(threads), end(threads)));
}

std::size_t HeapBytes()
{
    return mallinfo2().uordblks;
}

long Sleeps()
{
    long nAll = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(thread.path() / "status");
        for (std::string strWord; status >> strWord;) {
            long nSleeps = 0;
            if (strWord == "voluntary_ctxt_switches:" && status >> nSleeps) {
                nAll += nSleeps;
            }
        }
    }
    return nAll;
}

#endif
