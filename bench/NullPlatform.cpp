// A transport that sends nothing and a log that writes nothing, so that only decoding is measured.

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

bool CHttpClientInit()
{
    return true;
}

void CHttpClientUnInit() {}

void CHttpClientSetResponseCallBack(CHttpClientResponse /*fnResponse*/) {}

void CHttpClientSendRequest(int /*nType*/, const std::string& /*strUrl*/, const std::string& /*strBody*/,
                            void* /*pUserData*/, bool /*bPost*/, bool /*bHeader*/,
                            const std::string& /*strHeader*/)
{
}

void Log_Write(int /*level*/, const std::string& /*where*/, int /*line*/, const char* /*format*/, ...) {}
