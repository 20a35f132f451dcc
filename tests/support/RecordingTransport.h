#pragma once

#include <ktshttpagent/chttpclient.h>

#include <functional>
#include <string>
#include <vector>

/// One request as it was handed to the transport.
struct RecordedRequest {
    int nType = 0;
    std::string strUrl;
    std::string strBody;
    void* pUserData = nullptr;
    bool bPost = false;
    bool bHeader = false;
    std::string strHeader;
};

/// Replaces chttpclient: the four calls end here, nothing is sent, and the test answers explicitly.
class RecordingTransport
{
public:
    static RecordingTransport& Instance();

    /// Calls the registered callback with the oldest request that has no answer yet and forgets that request.
    void Reply(const std::string& strBody, int nHttpError = 0);

    /// Answers every request that is still open, so that all user data is released. Exceptions are ignored.
    void ReplyAll(const std::string& strBody = "{}", int nHttpError = -42);

    std::vector<RecordedRequest> vecRequests; ///< all since the start of the process, in order
    std::vector<std::string> vecCalls;        ///< names of the calls, in order ("CHttpClientInit", …)
    CHttpClientResponse fnResponse;           ///< what was registered last
    /// Called within each CHttpClientSendRequest, when the request is recorded; it may answer, and throw.
    std::function<void(const RecordedRequest&)> fnOnSend;

private:
    std::size_t m_nAnswered = 0;
};
