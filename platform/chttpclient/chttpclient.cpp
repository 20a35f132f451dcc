#include <ktshttpagent/chttpclient.h>

#include "ExchangeStory.h"
#include "Trace.h"
#include "Transport.h"

#include "platform/system/AtFork.h"
#include "platform/system/ProcessEnd.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <utility>

namespace
{

using chttpclient::Transport;

// Never destroyed, so that a request from any static destructor still finds it.
std::atomic<Transport*> g_pTransport = nullptr;

// Guards the creation of the transport and the registration of its end at exit. A function's static object
// would not do: the child of a fork could find it half constructed for ever.
std::mutex g_mutexMaking;

Transport& TheTransport()
{
    if (g_pTransport == nullptr) {
        const std::lock_guard<std::mutex> lock(g_mutexMaking);
        if (g_pTransport == nullptr) {
            g_pTransport = new Transport;
        }
    }
    return *g_pTransport;
}

/// Drains the transport when the process ends without CHttpClientUnInit.
void EndAtExit()
{
    TheTransport().End();
}

void RegisterEndAtExit()
{
    static bool bRegistered = false;
    const std::lock_guard<std::mutex> lock(g_mutexMaking);
    bRegistered = bRegistered || AtProcessEnd(&EndAtExit);
}

void BeforeFork()
{
    g_mutexMaking.lock();
    if (g_pTransport != nullptr) {
        g_pTransport.load()->LockForFork();
    }
}

void AfterForkInParent()
{
    if (g_pTransport != nullptr) {
        g_pTransport.load()->UnlockAfterFork();
    }
    g_mutexMaking.unlock();
}

void AfterForkInChild()
{
    if (g_pTransport != nullptr) {
        g_pTransport = new Transport(g_pTransport);
    }
    g_mutexMaking.unlock();
}

const bool g_bForksPrepared = AtFork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);

} // namespace

bool CHttpClientInit()
{
    return UnlessThreadsAreGone([] {
        const bool bRuns = TheTransport().Start();
        // Registered after libcurl is initialised, and so called before the exit handlers of its libraries.
        RegisterEndAtExit();
        return bRuns;
    });
}

void CHttpClientUnInit()
{
    UnlessThreadsAreGone([] { TheTransport().Stop(); });
}

void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse)
{
    UnlessThreadsAreGone([&] { TheTransport().SetReceiver(std::move(fnResponse)); });
}

const char* CHttpClientExchangeStory()
{
    return chttpclient::StoryTeller::Told();
}

const char* CHttpClientExchangeUrl()
{
    const auto* const pExchange = chttpclient::StoryTeller::Exchange();
    return pExchange == nullptr ? nullptr : pExchange->strUrl.c_str();
}

long long CHttpClientExchangeMicroseconds()
{
    const auto* const pExchange = chttpclient::StoryTeller::Exchange();
    if (pExchange == nullptr) {
        return -1;
    }
    const auto duration = std::chrono::steady_clock::now() - pExchange->tpSent;
    return std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
}

void CHttpClientSetTrace(CHttpClientTrace fnTrace)
{
    chttpclient::SetTrace(fnTrace);
}

unsigned long long CHttpClientQueued()
{
    return UnlessThreadsAreGone([] { return TheTransport().Queued(); });
}

void CHttpClientSendRequest(int nType, const std::string& strUrl, const std::string& strBody, void* pUserData,
                            bool bPost, bool bHeader, const std::string& strHeader)
{
    UnlessThreadsAreGone([&] {
        chttpclient::HttpExchange request;
        request.nType = nType;
        request.strUrl = strUrl;
        request.strBody = strBody;
        request.pUserData = pUserData;
        request.bPost = bPost;
        request.strHeader = bHeader ? strHeader : std::string();
        request.tpSent = std::chrono::steady_clock::now();
        TheTransport().Send(std::move(request));
    });
}
