#include "RecordingTransport.h"

#include <stdexcept>

RecordingTransport& RecordingTransport::Instance()
{
    static RecordingTransport transport;
    return transport;
}

void RecordingTransport::Reply(const std::string& strBody, int nHttpError)
{
    const RecordedRequest request = vecRequests.at(m_nAnswered++);
    fnResponse(strBody, request.nType, request.pUserData, nHttpError);
}

void RecordingTransport::ReplyAll(const std::string& strBody, int nHttpError)
{
    while (m_nAnswered < vecRequests.size()) {
        try {
            Reply(strBody, nHttpError);
        } catch (const std::exception&) { // a test that set no receiver: the callback says so by throwing
        }
    }
}

bool CHttpClientInit()
{
    RecordingTransport::Instance().vecCalls.emplace_back("CHttpClientInit");
    return true;
}

void CHttpClientUnInit()
{
    RecordingTransport::Instance().vecCalls.emplace_back("CHttpClientUnInit");
}

void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse)
{
    RecordingTransport::Instance().vecCalls.emplace_back("CHttpClientSetResponseCallBack");
    RecordingTransport::Instance().fnResponse = std::move(fnResponse);
}

void CHttpClientSendRequest(int nType, const std::string& strUrl, const std::string& strBody, void* pUserData,
                            bool bPost, bool bHeader, const std::string& strHeader)
{
    RecordingTransport& transport = RecordingTransport::Instance();
    const RecordedRequest request{nType, strUrl, strBody, pUserData, bPost, bHeader, strHeader};
    transport.vecCalls.emplace_back("CHttpClientSendRequest");
    transport.vecRequests.push_back(request);
    if (transport.fnOnSend) {
        transport.fnOnSend(request);
    }
}
