// A host that hands in a report and leaves, in the way that its second argument names, without ever shutting
// the transport down properly. For each callback it prints a line: type, error.
//
//   leaving_host URL-OF-THE-REPORT WAY [URL-OF-MORE-REQUESTS]

#include "platform/chttpclient/chttpclient.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <utility>

namespace
{

constexpr int REPORT = 1;
constexpr int MORE = 2;
constexpr int LAST = 3;

void Print(const std::string& /*body*/, int nType, void* /*pUserData*/, int nHttpError)
{
    std::printf("%d %d\n", nType, nHttpError);
    std::fflush(stdout);
}

void Report(int nType, const std::string& strUrl)
{
    CHttpClientSendRequest(nType, strUrl, "{}", nullptr, true, true, "Content-Type: application/json");
}

/// Sends when static objects are destroyed; made before the transport starts, and so destroyed after it
/// ended.
struct SendsAtTheEnd {
    std::string strUrl;
    ~SendsAtTheEnd() { Report(LAST, strUrl); }
};

struct UnInitsAtTheEnd {
    ~UnInitsAtTheEnd() { CHttpClientUnInit(); }
};

volatile std::sig_atomic_t g_bSignalled = 0;

/// As a daemon ends: the handler of a signal, which comes from somebody else, sets a flag that main looks at.
void WaitForTheFlagOfASignal()
{
    std::signal(SIGTERM, [](int) { g_bSignalled = 1; });
    std::thread([] { std::raise(SIGTERM); }).join();
    while (g_bSignalled == 0) {
        std::this_thread::yield();
    }
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    const std::string strUrl = ppArguments[1];
    const std::string strWay = ppArguments[2];
    if (strWay == "SendInStaticDestructor") {
        static SendsAtTheEnd sender;
        sender.strUrl = strUrl;
    }
    if (strWay == "UnInitInStaticDestructor") {
        static const UnInitsAtTheEnd uninit;
    }
    CHttpClientSetResponseCallBack([bExit = strWay == "ExitInCallback"](const std::string& strBody, int nType,
                                                                        void* pUserData,
                                                                        int nHttpError) mutable {
        Print(strBody, nType, pUserData, nHttpError);
        if (std::exchange(bExit, false)) { // further callbacks come while the process is ending
            std::exit(0);
        }
    });
    CHttpClientInit();
    for (int nMore = 0; nArguments > 3 && nMore < 20; ++nMore) {
        Report(MORE, ppArguments[3]);
    }
    Report(REPORT, strUrl);
    if (strWay == "Exit") {
        std::exit(0);
    }
    if (strWay == "SignalFlag") {
        WaitForTheFlagOfASignal();
    }
    if (strWay == "ExitInCallback") {
        std::promise<void>().get_future().wait(); // the callback ends the process
    }
    return 0;
}
