// Every reply of curl's own test suite, unchanged and damaged.

#include "CurlTestData.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#include <deque>
#include <iostream>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using Ending = ServerStep::Ending;

class TransportCurlTestData : public TransportTest, public testing::WithParamInterface<CurlTestVariant>
{
protected:
    static constexpr std::size_t SERVERS = 32;
    static constexpr std::size_t REQUESTS_EACH = 4; // for each reply

    ServerStep Answer(const WireRequest& request) const
    {
        ServerStep step = Ok();
        if (const std::string strTarget = request.Target(); strTarget.substr(0, 7) == "/reply/") {
            step.strReply = GetParam().fnApply(m_vecReplies.at(std::stoul(strTarget.substr(7))).strBytes);
            step.patience = 10ms; // many replies don't tell where they end
        } else if (strTarget == "/last") {
            step.ending = Ending::Close;
        }
        return step;
    }

    /// Sends it on a connection of its own, and again after a good exchange; a server gets one request at a
    /// time.
    void Send(const ScriptedServer& server, std::size_t nReply)
    {
        const std::string strReply = "/reply/" + std::to_string(nReply);
        char* const pTokens = m_vecTokens.data() + REQUESTS_EACH * nReply;
        Get(server.Url(strReply), pTokens);
        Get(server.Url("/good"), pTokens + 1);
        Post(server.Url(strReply), "{}", pTokens + 2);
        Get(server.Url("/last"), pTokens + 3);
    }

    const std::vector<CurlTestReply> m_vecReplies = CurlTestReplies();
    std::vector<char> m_vecTokens = std::vector<char>(REQUESTS_EACH * m_vecReplies.size());
};

TEST_P(TransportCurlTestData, GivesEachRequestOneOutcomeAndHarmsNoOther)
{
    ASSERT_GT(m_vecReplies.size(), 1000U);
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 1);
    Start();
    std::deque<ScriptedServer> servers;
    for (std::size_t nServer = 0; nServer < SERVERS; ++nServer) {
        servers.emplace_back([this](const WireRequest& request) { return Answer(request); }).KeepNoRequests();
    }
    for (std::size_t nReply = 0; nReply < m_vecReplies.size(); ++nReply) {
        Send(servers.at(nReply % SERVERS), nReply);
    }
    std::vector<int> vecOutcomes(m_vecTokens.size());
    for (const ReceivedReply& reply : RepliesAfterShutdown(m_vecTokens.size())) {
        const auto nToken =
            static_cast<std::size_t>(static_cast<char*>(reply.pUserData) - m_vecTokens.data());
        ++vecOutcomes.at(nToken);
        if (nToken % 2 == 1) {
            EXPECT_EQ(reply.nHttpError, 0) << "after " << m_vecReplies.at(nToken / REQUESTS_EACH).strName;
            EXPECT_EQ(reply.strBody, "{}") << "after " << m_vecReplies.at(nToken / REQUESTS_EACH).strName;
        }
    }
    EXPECT_THAT(vecOutcomes, testing::Each(1));
    std::cout << m_vecReplies.size() << " replies, " << m_vecTokens.size() << " requests\n";
}

/// All; with the thread sanitizer one, since what the threads do is the same in each.
std::vector<CurlTestVariant> Variants()
{
#if defined(__SANITIZE_THREAD__)
    return {CurlTestVariants().front()};
#else
    return CurlTestVariants();
#endif
}

INSTANTIATE_TEST_SUITE_P(Each, TransportCurlTestData, testing::ValuesIn(Variants()),
                         testing::PrintToStringParamName());
