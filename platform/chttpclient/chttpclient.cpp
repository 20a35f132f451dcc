#include "chttpclient.h"

#include "Transport.h"

#include <atomic>
#include <utility>

#if !defined(_WIN32)
#include <pthread.h>
#endif

namespace
{

using chttpclient::CTransport;

// Never destroyed, so that a request from any static destructor still finds it.
std::atomic<CTransport*> g_pTransport = nullptr;

#if !defined(_WIN32)

void BeforeFork()
{
    g_pTransport.load()->LockForFork();
}

void AfterForkInParent()
{
    g_pTransport.load()->UnlockAfterFork();
}

void AfterForkInChild()
{
    g_pTransport = new CTransport(g_pTransport);
}

#endif

bool MakeTransport()
{
    g_pTransport = new CTransport;
#if !defined(_WIN32)
    pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);
#endif
    return true;
}

CTransport& Transport()
{
    static const bool bMade = MakeTransport();
    static_cast<void>(bMade);
    return *g_pTransport;
}

/// Drains when the process ends without CHttpClientUnInit.
struct SEndAtExit {
    SEndAtExit() = default;
    ~SEndAtExit() { Transport().End(); }
    SEndAtExit(const SEndAtExit&) = delete;
    SEndAtExit& operator=(const SEndAtExit&) = delete;
};

} // namespace

bool CHttpClientInit()
{
    const bool bRuns = Transport().Start();
    // Made after libcurl is initialised, so it goes before what libcurl's own libraries put up for the exit.
    static const SEndAtExit atExit;
    return bRuns;
}

void CHttpClientUnInit()
{
    Transport().Stop();
}

void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse)
{
    Transport().SetReceiver(std::move(fnResponse));
}

void CHttpClientSendRequest(int nType, const std::string& strUrl, const std::string& strBody, void* pUserData,
                            bool bPost, bool bHeader, const std::string& strHeader)
{
    chttpclient::SHttpExchange request;
    request.nType = nType;
    request.strUrl = strUrl;
    request.strBody = strBody;
    request.pUserData = pUserData;
    request.bPost = bPost;
    request.strHeader = bHeader ? strHeader : std::string();
    Transport().Send(std::move(request));
}
