// The functions of chttpclient.h that every transport needs. All others are optional: ktshttpagent looks them
// up by name, and does without what it does not find. Without CHttpClientSendReport, for example, reports
// from the outbox have no key.

#include "FileTransport.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#if defined(__unix__)
#include <pthread.h>
#endif
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

namespace
{

/// Never destroyed: a request from a static destructor must still find it.
FileTransport* g_pTransport = new FileTransport;

/// Ends the transport together with the process, if nobody has done so before. On Windows it does nothing:
/// all other threads are gone when a DLL's functions of atexit run, so waiting for one might never end. There
/// the host stops the transport before its end (`SDKFactory::DestoryInstance`), or what still waits is lost.
void EndWithProcess()
{
#if !defined(_WIN32)
    static std::once_flag once;
    std::call_once(once, [] {
        if (std::atexit([] { g_pTransport->Stop(); }) != 0) {
            Log_Write(1, "CHttpClientInit", 1, "requests that wait when the process ends will be lost");
        }
    });
#endif
}

#if defined(__unix__)
/// The child of a fork has no thread that would answer: it gets a stopped transport.
const int FORKS_PREPARED =
    pthread_atfork([] { g_pTransport->LockForFork(); },                  // before
                   [] { g_pTransport->UnlockAfterFork(); },              // in the parent
                   [] { g_pTransport = g_pTransport->MakeForChild(); }); // in the child
#endif

} // namespace

bool CHttpClientInit()
{
    g_pTransport->Start();
    EndWithProcess();
    return true;
}

void CHttpClientUnInit()
{
    g_pTransport->Stop();
}

void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse)
{
    g_pTransport->SetReceiver(std::make_shared<const CHttpClientResponse>(std::move(fnResponse)));
}

// This transport has no use for the URL and the header line. One with a network sends both unchanged, except
// that it encodes what no URL may contain.
void CHttpClientSendRequest(int nType, const std::string& /*strUrl*/, const std::string& strBody,
                            void* pUserData, bool bPost, bool /*bHeader*/, const std::string& /*strHeader*/)
{
    g_pTransport->Send({nType, strBody, pUserData, bPost});
}
