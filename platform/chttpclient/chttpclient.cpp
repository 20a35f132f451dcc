#include <ktshttpagent/CHttpClientDouble.h>
#include <ktshttpagent/chttpclient.h>

#include "ExchangeStory.h"
#include "Trace.h"
#include "Transport.h"

#include "platform/system/AtFork.h"
#include "platform/system/ProcessEnd.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <new>
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

chttpclient::HttpExchange NewExchange(int nType, const char* pBody, std::size_t nBody, void* pUserData)
{
    chttpclient::HttpExchange exchange;
    exchange.nType = nType;
    exchange.strBody.assign(pBody, nBody);
    exchange.pUserData = pUserData;
    exchange.tpSent = std::chrono::steady_clock::now();
    return exchange;
}

/// Runs what hands an exchange to the transport.
/// @return whether the transport has accepted it
template <class HandIn>
bool Accepts(HandIn fnHandIn) noexcept
{
    try {
        return UnlessThreadsAreGone([&] {
            fnHandIn();
            return true;
        });
    } catch (const std::bad_alloc&) {
        return false;
    }
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

void CHttpClientSetDouble(CHttpClientDouble fnDouble)
{
    UnlessThreadsAreGone([&] { TheTransport().SetDouble(std::move(fnDouble)); });
}

unsigned long long CHttpClientQueued()
{
    return UnlessThreadsAreGone([] { return TheTransport().Queued(); });
}

bool CHttpClientSendReport(int nType, const char* szUrl, const char* pBody, std::size_t nBody,
                           void* pUserData, const char* const* arHeaders)
{
    const auto send = [&] {
        chttpclient::HttpExchange request = NewExchange(nType, pBody, nBody, pUserData);
        request.strUrl = szUrl;
        request.bPost = true;
        for (; *arHeaders != nullptr; ++arHeaders) {
            request.vecHeaders.emplace_back(*arHeaders);
        }
        TheTransport().Send(std::move(request));
    };
    return Accepts(send);
}

bool CHttpClientHandBack(int nType, const char* pBody, std::size_t nBody, void* pUserData, int nHttpError)
{
    const auto handBack = [&] {
        chttpclient::HttpExchange reply = NewExchange(nType, {}, 0, pUserData);
        reply.strReply.assign(pBody, nBody);
        reply.nHttpError = nHttpError;
        reply.bHandedBack = true;
        TheTransport().HandBack(std::move(reply));
    };
    return Accepts(handBack);
}

long long CHttpClientExchangeRetryAfter()
{
    const auto* const pExchange = chttpclient::StoryTeller::Exchange();
    const bool bAsked =
        pExchange != nullptr && pExchange->pFacts != nullptr && pExchange->pFacts->nRetryAfter > 0;
    return bAsked ? pExchange->pFacts->nRetryAfter : -1;
}

int CHttpClientExchangeBodySent()
{
    const auto* const pExchange = chttpclient::StoryTeller::Exchange();
    if (pExchange == nullptr) {
        return -1;
    }
    if (pExchange->pFacts != nullptr) {
        return pExchange->pFacts->bBodySent ? 1 : 0;
    }
    const bool bRefused = pExchange->nHttpError == CHttpOutcome::NotRunning ||
                          pExchange->nHttpError == CHttpOutcome::TooManyOutstanding;
    return bRefused ? 0 : -1; // without facts it was not begun, or there was no memory for them
}

void CHttpClientSendRequest(int nType, const std::string& strUrl, const std::string& strBody, void* pUserData,
                            bool bPost, bool bHeader, const std::string& strHeader)
{
    UnlessThreadsAreGone([&] {
        chttpclient::HttpExchange request = NewExchange(nType, strBody.data(), strBody.size(), pUserData);
        request.strUrl = strUrl;
        request.bPost = bPost;
        if (bHeader && !strHeader.empty()) {
            request.vecHeaders.push_back(strHeader);
        }
        TheTransport().Send(std::move(request));
    });
}
