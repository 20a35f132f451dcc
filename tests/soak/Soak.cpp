// Sends very many requests through the transport to a server in this process, and checks two promises:
// exactly one callback per request, and no growth. Prints the resident size after the first requests and
// after the last one.
//
//   kts_soak [REQUESTS]        1000000 by default
//
// Exit status: 0 kept, 1 broken.

#include "ScriptedServer.h"

#include <ktshttpagent/chttpclient.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include <unistd.h>

namespace
{

constexpr std::size_t WARM_UP = 10'000;
constexpr std::size_t OUTSTANDING = 1'000;
constexpr std::size_t MARGIN_BYTES = std::size_t{8} * 1024 * 1024;

/// One token per request, which counts its callbacks, and the total counts.
struct Account {
    explicit Account(std::size_t nRequests) : vecCallbacks(nRequests) {}

    void Receive(void* pUserData, int nHttpError)
    {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            auto& nCallbacks = *static_cast<std::uint8_t*>(pUserData);
            nCallbacks = static_cast<std::uint8_t>(std::min(nCallbacks + 1, 255)); // never wraps around
            ++nAll;
            nFailed += nHttpError < 0 ? 1 : 0;
        }
        condition.notify_all();
    }

    void WaitFor(std::size_t nCount)
    {
        std::unique_lock<std::mutex> lock(mutex);
        condition.wait(lock, [&] { return nAll >= nCount; });
    }

    std::mutex mutex;
    std::condition_variable condition;
    std::vector<std::uint8_t> vecCallbacks;
    std::size_t nAll = 0;
    std::size_t nFailed = 0;
};

std::size_t ResidentBytes()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t nPages = 0;
    statm >> nPages >> nPages; // the second number
    return nPages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// Answers queries and reports with a body, now and then with a larger one or an error status.
ServerStep Answer(const WireRequest& request)
{
    ServerStep step;
    const bool bLarge = request.Target() == "/large";
    step.strReply =
        HttpReply(request.Target() == "/wrong" ? 500 : 200, std::string(bLarge ? 50'000 : 200, 'x'));
    return step;
}

void Send(const ScriptedServer& server, std::size_t nRequest, void* pUserData)
{
    const char* const szPath = nRequest % 100 == 0 ? "/large" : nRequest % 10 == 0 ? "/wrong" : "/usual";
    const bool bPost = nRequest % 2 == 0;
    CHttpClientSendRequest(static_cast<int>(nRequest % 16), server.Url(szPath), "{\"t\":\"1\"}\n", pUserData,
                           bPost, bPost, "Content-Type: application/json");
}

void SendAll(const ScriptedServer& server, Account& account, std::size_t nFrom, std::size_t nTo)
{
    for (std::size_t nRequest = nFrom; nRequest < nTo; ++nRequest) {
        if (nRequest >= OUTSTANDING) {
            account.WaitFor(nRequest - OUTSTANDING);
        }
        Send(server, nRequest, &account.vecCallbacks[nRequest]);
    }
    account.WaitFor(nTo);
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    const std::size_t nRequests = nArguments > 1 ? std::strtoul(ppArguments[1], nullptr, 10) : 1'000'000;
    if (nRequests < WARM_UP) {
        std::fprintf(stderr, "kts_soak: at least %zu requests\n", WARM_UP);
        return 1;
    }
    Account account(nRequests);
    ScriptedServer server(Answer);
    server.KeepNoRequests();
    CHttpClientSetResponseCallBack([&account](const std::string& /*body*/, int /*nType*/, void* pUserData,
                                              int nHttpError) { account.Receive(pUserData, nHttpError); });
    if (!CHttpClientInit()) {
        std::fprintf(stderr, "kts_soak: the transport does not start\n");
        return 1;
    }
    const auto tpBegin = std::chrono::steady_clock::now();
    SendAll(server, account, 0, WARM_UP);
    const std::size_t nBefore = ResidentBytes();
    SendAll(server, account, WARM_UP, nRequests);
    const std::size_t nAfter = ResidentBytes();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - tpBegin;
    CHttpClientUnInit(); // any surplus callbacks have come by now
    CHttpClientSetResponseCallBack(nullptr);

    const auto nOnce = static_cast<std::size_t>(
        std::count(account.vecCallbacks.begin(), account.vecCallbacks.end(), std::uint8_t{1}));
    const bool bKept = nOnce == nRequests && account.nAll == nRequests && account.nFailed == 0 &&
                       nAfter <= nBefore + MARGIN_BYTES;
    std::printf("requests            %zu in %.1f s, over %zu connections\n", nRequests, seconds.count(),
                server.Accepted());
    std::printf("callbacks           %zu, of them failures %zu\n", account.nAll, account.nFailed);
    std::printf("with one callback   %zu\n", nOnce);
    std::printf("resident size       %zu kB after %zu requests, %zu kB after all; %zu kB more are allowed\n",
                nBefore / 1024, WARM_UP, nAfter / 1024, MARGIN_BYTES / 1024);
    std::printf("%s\n", bKept ? "kept" : "BROKEN");
    return bKept ? 0 : 1;
}
