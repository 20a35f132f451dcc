// Checks what a host relies on with a transport, whichever libchttpclient.so.0 the dynamic linker finds:
//
//     LD_LIBRARY_PATH=folder-of-the-transport transport_check
//
// Prints a line for each check; the exit status is 1 if one fails. What the requests get as answers does not
// matter.

#include <ktshttpagent/chttpclient.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>
#if defined(__unix__)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{

constexpr const char* URL = "http://127.0.0.1:1/nothing-listens-here";

/// What the callbacks have seen. A request's user pointer points to its own number of callbacks.
std::atomic<int> g_nCallbacks{0};
std::atomic<int> g_nAtOnce{0};
std::atomic<bool> g_bAlone{true};       ///< whether no two callbacks ran at the same time
std::atomic<bool> g_bOtherThread{true}; ///< whether no callback ran on the thread of a sender
std::atomic<int> g_nLastError{0};
thread_local bool g_bSender = false;

bool g_bAllOk = true;

void Check(const char* szWhat, bool bOk)
{
    std::cout << (bOk ? "ok    " : "FAILS ") << szWhat << std::endl;
    g_bAllOk = g_bAllOk && bOk;
}

void Send(std::atomic<int>& nCallbacks)
{
    CHttpClientSendRequest(3104, URL, "", &nCallbacks, false, false, "");
}

bool WaitUntil(const std::atomic<int>& nCount, int nWanted)
{
    for (int nTry = 0; nTry < 3000 && nCount < nWanted; ++nTry) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return nCount == nWanted;
}

void Receive(const std::string& /*body*/, int nType, void* pUserData, int nHttpError)
{
    g_bAlone = ++g_nAtOnce == 1 && g_bAlone;
    g_bOtherThread = g_bOtherThread && !g_bSender;
    g_nLastError = nType == 3104 ? nHttpError : 1;
    ++*static_cast<std::atomic<int>*>(pUserData);
    ++g_nCallbacks;
    --g_nAtOnce;
}

void CheckStopped(const char* szWhat)
{
    std::atomic<int> nCallbacks{0};
    Send(nCallbacks);
    Check(szWhat, WaitUntil(nCallbacks, 1) && g_nLastError == CHttpOutcome::NotRunning);
}

void CheckManySenders()
{
    constexpr std::size_t SENDERS = 4;
    constexpr std::size_t REQUESTS = 250;
    std::vector<std::atomic<int>> vecCallbacks(SENDERS * REQUESTS);
    g_nCallbacks = 0;
    std::thread arrSenders[SENDERS];
    for (std::size_t nSender = 0; nSender < SENDERS; ++nSender) {
        arrSenders[nSender] = std::thread([&, nSender] {
            g_bSender = true;
            for (std::size_t nRequest = 0; nRequest < REQUESTS; ++nRequest) {
                Send(vecCallbacks[nSender * REQUESTS + nRequest]);
            }
        });
    }
    for (std::thread& sender : arrSenders) {
        sender.join();
    }
    CHttpClientUnInit();
    Check("when the transport has stopped, every request has had a callback",
          g_nCallbacks == static_cast<int>(SENDERS * REQUESTS));
    bool bOnce = true;
    for (const std::atomic<int>& nCallbacks : vecCallbacks) {
        bOnce = bOnce && nCallbacks == 1;
    }
    Check("each request has had exactly one", bOnce);
    Check("one callback at a time", g_bAlone);
    Check("none on the thread that sent", g_bOtherThread);
}

void CheckThrowingReceiver()
{
    std::atomic<int> nCallbacks{0};
    CHttpClientSetResponseCallBack([&](const std::string&, int, void*, int) {
        ++nCallbacks;
        throw std::runtime_error("a receiver that throws");
    });
    Send(nCallbacks);
    Send(nCallbacks);
    Check("a receiver that throws is called again", WaitUntil(nCallbacks, 2));
}

void CheckReceiverThatCallsBack()
{
    std::atomic<int> nCallbacks{0};
    CHttpClientSetResponseCallBack([&](const std::string&, int, void*, int) {
        if (nCallbacks == 0) {
            Send(nCallbacks);
            CHttpClientUnInit(); // must not wait for this callback, in which it is called
        }
        ++nCallbacks;
    });
    Send(nCallbacks);
    Check("a receiver may send, and stop the transport", WaitUntil(nCallbacks, 2));
    CHttpClientUnInit(); // now nobody uses nCallbacks any more
}

#if defined(__unix__)
void CheckFork()
{
    CHttpClientInit();
    const pid_t nChild = fork();
    if (nChild == 0) {
        std::atomic<int> nCallbacks{0};
        Send(nCallbacks);
        const bool bRefused = WaitUntil(nCallbacks, 1) && g_nLastError == CHttpOutcome::NotRunning;
        const bool bStarts = CHttpClientInit();
        Send(nCallbacks);
        _exit(bRefused && bStarts && WaitUntil(nCallbacks, 2) ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int nStatus = 0;
    const bool bEnded = nChild > 0 && waitpid(nChild, &nStatus, 0) == nChild;
    Check("in the child of a fork it is stopped, and can be started", bEnded && nStatus == 0);
}
#endif

} // namespace

int main()
{
    CHttpClientSetResponseCallBack(&Receive);
    CheckStopped("before the start, a request is refused");
    Check("the transport starts", CHttpClientInit() && CHttpClientInit());
    CheckManySenders();
    CheckStopped("after the stop, a request is refused");
    Check("it starts again", CHttpClientInit());
    CheckThrowingReceiver();
    CheckReceiverThatCallsBack();
    CHttpClientSetResponseCallBack(&Receive);
#if defined(__unix__)
    CheckFork();
#endif
    return g_bAllOk ? EXIT_SUCCESS : EXIT_FAILURE;
}
