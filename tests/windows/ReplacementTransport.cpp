// A transport that sends nothing, prints the calls made, and answers every request at once.

#include <ktshttpagent/chttpclient.h>

#include <cstdio>
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
    std::puts("init");
    return true;
}

void CHttpClientUnInit()
{
    std::puts("uninit");
    std::fflush(stdout);
}

void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse)
{
    Receiver() = std::move(fnResponse);
}

void CHttpClientSendRequest(int nType, const std::string& /*strUrl*/, const std::string& /*strBody*/,
                            void* pUserData, bool /*bPost*/, bool /*bHeader*/,
                            const std::string& /*strHeader*/)
{
    std::printf("send %d\n", nType);
    Receiver()("{\"code\":0}", nType, pUserData, 0);
}
