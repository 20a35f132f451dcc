#include "EachConnection.h"

#include <gmock/gmock.h>

using testing::AnyOf;

TransportInTurn::TransportInTurn()
{
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 1);
    Set("CHTTPCLIENT_POST_IDLE_MS", 60'000); // on a busy machine more than half a second may pass
}

void TransportInTurn::SetShortTime(const std::string& strName, long nMilliseconds)
{
    Set(strName, nMilliseconds);
    m_bShortTime = true;
}

std::size_t TransportInTurn::Send(const std::string& strUrl, bool bPost, const std::string& strBody,
                                  const std::string& strHeader)
{
    const std::size_t nRequest = m_tokens.size();
    m_tokens.emplace_back();
    CHttpClientSendRequest(TYPE + static_cast<int>(nRequest), strUrl, strBody, &m_tokens.back(), bPost,
                           !strHeader.empty(), strHeader);
    return nRequest;
}

ReceivedReply TransportInTurn::AnswerTo(std::size_t nRequest)
{
    EXPECT_TRUE(m_replies.WaitFor(nRequest + 1));
    ReceivedReply reply = m_replies.All().at(nRequest);
    EXPECT_EQ(reply.nType, TYPE + static_cast<int>(nRequest));
    EXPECT_EQ(reply.pUserData, &m_tokens.at(nRequest));
    return reply;
}

ScriptedServer::Script TransportInTurn::WellBut(ServerStep step)
{
    return [step = std::move(step)](const WireRequest& request) {
        ServerStep empty;
        empty.strReply = HttpReply(200, "");
        const std::string strTarget = request.Target();
        return strTarget == "/empty" ? empty : strTarget.rfind("/good", 0) == 0 ? Ok() : step;
    };
}

std::size_t TransportInTurn::ServeWell(const ScriptedServer& server)
{
    for (int nTry = 0; nTry < 20; ++nTry) {
        const int nEmpty = Exchange(server.Url("/empty")).nHttpError;
        const std::string strTarget = "/good" + std::to_string(m_tokens.size());
        const ReceivedReply good = Exchange(server.Url(strTarget));
        if (nEmpty == 0 && good.nHttpError == 0) {
            EXPECT_EQ(good.strBody, "{}");
            return ConnectionsOf(server, strTarget).back();
        }
        const int nMayBe = m_bShortTime ? -28 : 0;
        EXPECT_THAT(nEmpty, AnyOf(0, nMayBe));
        EXPECT_THAT(good.nHttpError, AnyOf(0, nMayBe));
    }
    ADD_FAILURE() << "the server could not answer";
    return 0;
}

std::vector<std::size_t> TransportInTurn::ConnectionsOf(const ScriptedServer& server,
                                                        const std::string& strTarget)
{
    std::vector<std::size_t> vecConnections;
    for (const WireRequest& request : server.Requests()) {
        if (request.Target() == strTarget) {
            vecConnections.push_back(request.nConnection);
        }
    }
    return vecConnections;
}
