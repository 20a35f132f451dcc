// A transport with which a site may replace ours: it has only the functions that the library calls, and
// refuses everything.

#include <ktshttpagent/chttpclient.h>

#include <utility>

namespace
{

CHttpClientResponse& Receiver()
{
    static CHttpClientResponse fnReceiver;
    return fnReceiver;
}

} // namespace

bool CHttpClientInit()
{
    return true;
}

void CHttpClientUnInit() {}

void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse)
{
    Receiver() = std::move(fnResponse);
}

void CHttpClientSendRequest(int nType, const std::string& /*strUrl*/, const std::string& /*strBody*/,
                            void* pUserData, bool /*bPost*/, bool /*bHeader*/,
                            const std::string& /*strHeader*/)
{
    Receiver()("", nType, pUserData, CHttpOutcome::NotRunning);
}
