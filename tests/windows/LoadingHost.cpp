// A host that loads the transport, sends requests and ends in the way that its arguments name:
//   loading_host LIBRARY WAY URL-OF-A-REPORT [URL-OF-MORE-REQUESTS]
// For each callback it prints a line: type, error. It says "unloaded" when it has unloaded the transport.

#include <ktshttpagent/chttpclient.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include <windows.h>

namespace
{

void Print(const std::string& /*body*/, int nType, void* /*pUserData*/, int nHttpError)
{
    std::printf("%d %d\n", nType, nHttpError);
    std::fflush(stdout);
}

template <class Function>
Function Find(const wchar_t* szLibrary, const char* szName)
{
    const FARPROC pFound = ::GetProcAddress(::GetModuleHandleW(szLibrary), szName);
    if (pFound == nullptr) {
        std::printf("no %s\n", szName);
        std::exit(2);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void*>(pFound));
}

void Start()
{
    Find<decltype(&CHttpClientSetResponseCallBack)>(
        L"chttpclient.dll",
        "_Z30CHttpClientSetResponseCallBackSt8functionIFvRKNSt7__cxx1112basic_stringIcSt11char_"
        "traitsIcESaIcEEEiPviEE")(Print);
    Find<decltype(&CHttpClientInit)>(L"chttpclient.dll", "_Z15CHttpClientInitv")();
}

void Send(int nType, const std::string& strUrl)
{
    Find<decltype(&CHttpClientSendRequest)>(
        L"chttpclient.dll",
        "_Z22CHttpClientSendRequestiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_PvbbS6_")(
        nType, strUrl, "{}", nullptr, true, false, "");
}

[[noreturn]] void Sleep()
{
    for (;;) {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    const std::string strWay = ppArguments[2];
    if (strWay == "ExitOfTheUniversalRuntime") { // loaded before the transport, as in programs that use it
        ::LoadLibraryW(L"ucrtbase.dll");
    }
    const HMODULE hLibrary = ::LoadLibraryA(ppArguments[1]);
    Start();
    for (int nMore = 0; nArguments > 4 && nMore < 20; ++nMore) {
        Send(2, ppArguments[4]);
    }
    Send(1, ppArguments[3]);
    if (strWay == "FreeLibrary") {
        ::FreeLibrary(hLibrary);
        std::puts("unloaded");
        std::fflush(stdout);
        return 7;
    }
    if (strWay == "ExitProcess") {
        ::ExitProcess(7);
    }
    if (strWay == "ExitProcessOfAnotherThread") {
        std::thread([] { ::ExitProcess(7); }).detach();
        Sleep();
    }
    if (strWay == "TerminateProcess") {
        ::TerminateProcess(::GetCurrentProcess(), 7);
    }
    if (strWay == "ExitOfTheUniversalRuntime") {
        Find<void(__cdecl*)(int)>(L"ucrtbase.dll", "exit")(7);
    }
    if (strWay == "Exit") {
        std::exit(7);
    }
    return 7;
}
