// A host with raised rights that sends one request by the transport. The transport is linked into it together
// with a log of its own, so that nothing is written to the system's log folder. Prints the error and the
// body.
//
//   raised_transport_host whether
//   raised_transport_host get URL

#include "Whether.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <cstdarg>
#include <future>
#include <string>

void Log_Write(int /*level*/, const std::string& where, int line, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::fprintf(stderr, "%s:%d ", where.c_str(), line);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
}

int main(int /*nArguments*/, char** ppArguments)
{
    if (ppArguments[1] == std::string("whether")) {
        PrintWhether();
        Leave();
    }
    std::promise<void> answered;
    CHttpClientSetResponseCallBack(
        [&](const std::string& strBody, int /*nType*/, void* /*pUserData*/, int nHttpError) {
            std::printf("%d %s\n", nHttpError, strBody.c_str());
            answered.set_value();
        });
    CHttpClientInit();
    CHttpClientSendRequest(1, ppArguments[2], "", nullptr, false, false, "");
    answered.get_future().wait();
    CHttpClientUnInit();
    Leave();
}
