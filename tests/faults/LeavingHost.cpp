// A host that sends a report and then ends, in the way that its second argument names, without shutting the
// transport down properly. For each callback it prints a line: type, error.
//
//   leaving_host URL-OF-THE-REPORT WAY [URL-OF-MORE-REQUESTS [URL-OF-EARLIER-REQUESTS]]
//
// The URL of more requests is empty if none must be sent. Earlier requests are sent in earlier lives of the
// transport, each between a start and a stop; their callbacks print nothing.

#include <ktshttpagent/chttpclient.h>

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

/// Sends when static objects are destroyed. It is created before the transport starts, and so destroyed after
/// the transport has ended.
struct SendsAtTheEnd {
    std::string strUrl;
    ~SendsAtTheEnd() { Report(LAST, strUrl); }
};

struct UnInitsAtTheEnd {
    ~UnInitsAtTheEnd() { CHttpClientUnInit(); }
};

volatile std::sig_atomic_t g_bSignalled = 0;

/// Ends as a daemon does: the handler of a signal from another process sets a flag that main checks.
void WaitForTheFlagOfASignal()
{
    std::signal(SIGTERM, [](int) { g_bSignalled = 1; });
    std::thread([] { std::raise(SIGTERM); }).join();
    while (g_bSignalled == 0) {
        std::this_thread::yield();
    }
}

/// Starts and stops the transport, each time with requests in progress.
void LiveBefore(const std::string& strUrl)
{
    CHttpClientSetResponseCallBack([](const std::string&, int, void*, int) {});
    for (int nLife = 0; nLife < 3; ++nLife) {
        CHttpClientInit();
        for (int nRequest = 0; nRequest < 10; ++nRequest) {
            Report(0, strUrl);
        }
        CHttpClientUnInit();
    }
}

/// Ends the process in a callback while further replies wait: the first callback blocks until all of them are
/// there. Only one request may be outstanding, so the others are refused and need no server.
void ExitWithRepliesWaiting(const std::string& strUrl)
{
    static std::promise<void> handedIn;
    CHttpClientSetResponseCallBack(
        [nCallback = 0](const std::string& strBody, int nType, void* pUserData, int nHttpError) mutable {
            if (++nCallback == 1) {
                handedIn.get_future().wait();
            }
            Print(strBody, nType, pUserData, nHttpError);
            if (nCallback == 2) {
                std::exit(0);
            }
        });
    CHttpClientInit();
    Report(REPORT, strUrl);
    for (int nMore = 0; nMore < 20; ++nMore) {
        Report(MORE, strUrl);
    }
    handedIn.set_value();
    std::promise<void>().get_future().wait(); // the callback ends the process
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
    if (nArguments > 4) {
        LiveBefore(ppArguments[4]);
    }
    if (strWay == "ExitWithRepliesWaiting") {
        ExitWithRepliesWaiting(strUrl);
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
    const std::string strMore = nArguments > 3 ? ppArguments[3] : "";
    for (int nMore = 0; !strMore.empty() && nMore < 20; ++nMore) {
        Report(MORE, strMore);
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
