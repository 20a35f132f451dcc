// The objects of the agent created, destroyed and created again in one process, with requests in progress
// each time.

#include "AgentProbe.h"
#include "RecordingTransport.h"
#include "VelClientSDk.h"

#include <ktshttpagent/ResultVariants.h>

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int ROUNDS = 5;

class AgentAgain : public ::testing::Test
{
protected:
    AgentAgain()
    {
        qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
        CUIAgentReq::Instance();
    }

    static void Ask() { CUIAgentReq::Instance()->SendGetProjects("h", 80, {"A"}, "1"); }

    /// Answers the oldest open query with a list of that many projects.
    static void Answer(int nProjects)
    {
        std::string strProjects;
        for (int nProject = 0; nProject < nProjects; ++nProject) {
            strProjects += std::string(nProject == 0 ? "" : ",") + R"({"xh":"A"})";
        }
        RecordingTransport::Instance().Reply(R"({"success":true,"实验项目":[)" + strProjects + "]}");
    }

    static std::size_t ProjectsIn(const QList<QVariant>& arguments)
    {
        return arguments.at(1).value<QVariant>().value<SResponseGetProject>().lstProject.size();
    }
};

TEST_F(AgentAgain, AResponseObjectMadeAtTheSamePlaceGetsItsOwnAnswersOnly)
{
    alignas(AgentResponseProbe) unsigned char storage[sizeof(AgentResponseProbe)];
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        auto* const pResponse = new (storage) AgentResponseProbe;
        auto spy = std::make_unique<QSignalSpy>(pResponse, &CUIAgentRsp::SigGetProjectsRet);
        if (nRound > 1) {
            Answer(1); // to the previous round's query, which was left open
            ASSERT_EQ(spy->count(), 1) << nRound;
        }
        Ask();
        Answer(nRound + 1);
        ASSERT_EQ(spy->count(), nRound > 1 ? 2 : 1) << nRound;
        EXPECT_EQ(ProjectsIn(spy->back()), static_cast<std::size_t>(nRound) + 1);
        Ask();
        Ask();
        spy.reset();
        pResponse->~AgentResponseProbe();
        std::memset(storage, 0, sizeof(storage)); // any use of it now fails
        Answer(1);                                // to nobody
    }
}

TEST_F(AgentAgain, OfResponseObjectsMadeAndEndedInTurnTheLastOneMadeGetsTheAnswers)
{
    std::unique_ptr<AgentResponseProbe> pBefore;
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        auto pResponse = std::make_unique<AgentResponseProbe>();
        const QSignalSpy spy(pResponse.get(), &CUIAgentRsp::SigGetProjectsRet);
        std::optional<QSignalSpy> optBefore;
        if (pBefore != nullptr) {
            optBefore.emplace(pBefore.get(), &CUIAgentRsp::SigGetProjectsRet);
        }
        Ask();
        Answer(1);
        EXPECT_EQ(spy.count(), 1) << nRound;
        EXPECT_TRUE(!optBefore || optBefore->isEmpty()) << nRound;
        optBefore.reset();
        pBefore = std::move(pResponse);
        Ask();
        Answer(1);
        EXPECT_EQ(spy.count(), 2) << nRound;
    }
}

TEST_F(AgentAgain, ResponseObjectsMayBeMadeAndEndedOnSeveralThreadsAtOnce)
{
    constexpr int TIMES = 1000;
    constexpr std::size_t AT_ONCE = 10;
    std::vector<std::thread> vecThreads(4);
    for (std::thread& thread : vecThreads) {
        thread = std::thread([] {
            for (int nTime = 0; nTime < TIMES; ++nTime) {
                const std::array<AgentResponseProbe, AT_ONCE> responses;
            }
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    const AgentResponseProbe response;
    const QSignalSpy spy(&response, &CUIAgentRsp::SigGetProjectsRet);
    Ask();
    Answer(1);
    EXPECT_EQ(spy.count(), 1);
}

TEST_F(AgentAgain, ARequestObjectThatEndsTakesNoAnswerWithIt)
{
    const AgentResponseProbe response;
    QSignalSpy spy(&response, &CUIAgentRsp::SigGetProjectsRet);
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        auto pRequest = std::make_unique<AgentRequestProbe>();
        pRequest->SendGetProjects("h", 80, {"A"}, "1");
        pRequest.reset();
        std::make_unique<AgentRequestProbe>().reset(); // the constructor initialises the client once more
        Answer(1);
        EXPECT_EQ(spy.count(), nRound);
        EXPECT_EQ(ProjectsIn(spy.back()), 1U);
    }
}

TEST_F(AgentAgain, TextsAreEscapedWheneverThatIsOnAndNeverElse)
{
    AgentRequestProbe request;
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        const bool bEscape = nRound % 2 == 0;
        request.SetQueryEscaping(bEscape);
        EXPECT_EQ(request.HasQueryEscaping(), bEscape);
        EXPECT_EQ(AgentRequestProbe().HasQueryEscaping(), bEscape) << "a new object must not change that";
        request.SendGetBattStatus("h", 80, "NO#1");
        EXPECT_EQ(RecordingTransport::Instance().vecRequests.back().strUrl,
                  std::string("http://h:80/vomd/system/GetDxzt.action?t=") + (bEscape ? "NO%231" : "NO#1"));
    }
    RecordingTransport::Instance().ReplyAll();
}

TEST_F(AgentAgain, EachRequestGoesToTheServerOfItsOwnCallWhateverWasAskedBefore)
{
    auto& request = *CUIAgentReq::Instance();
    const auto& vecRequests = RecordingTransport::Instance().vecRequests;
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        request.SendPostReportCycleData(QStringLiteral("http://site/%1/").arg(nRound), "1");
        EXPECT_EQ(vecRequests.back().strUrl,
                  "http://site/" + std::to_string(nRound) + "/open/test-cabinet/add/kostrel/cycle");
        request.SendGetBattStatus("h", nRound, "1");
        EXPECT_EQ(vecRequests.back().strUrl,
                  "http://h:" + std::to_string(nRound) + "/vomd/system/GetDxzt.action?t=1");
    }
    RecordingTransport::Instance().ReplyAll();
}

/// First a record that the client's callback may move from, then one at the same address that a subclass
/// passes in.
TEST_F(AgentAgain, ARecordMayBeMovedFromOnceAndOnlyWhileItIsDelivered)
{
    AgentResponseProbe response;
    QSignalSpy spy(&response, &CUIAgentRsp::SigGetProjectsRet);
    SResponseGetProject record;
    SResponseHeader header;
    header.pData = &record;
    const auto fnHandInAgain = [&] { response.OnResponse(3103, nullptr, &header, 0); };
    QObject::connect(&response, &CUIAgentRsp::SigGetProjectsRet, [&] {
        if (spy.count() % 3 == 1) { // within the delivery, when it was certainly moved from
            record.lstProject.resize(2);
            fnHandInAgain();
            EXPECT_EQ(record.lstProject.size(), 2U);
        }
    });
    const auto* const pClient = static_cast<const VelCSDK::VelClientSDk*>(VelCSDK::SDKFactory::GetInstance());
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        record.lstProject.resize(3);
        pClient->GetResponseCallBack("source")(3103, nullptr, &header, 0);
        record.lstProject.resize(4);
        fnHandInAgain();
        EXPECT_EQ(record.lstProject.size(), 4U) << "moved after its delivery, round " << nRound;
        ASSERT_EQ(spy.count(), 3 * nRound);
    }
}

/// A failed delivery does not move from the record, whose mark remains set.
TEST_F(AgentAgain, ARecordThatAFailedDeliveryLeftIsNotMovedFromAfterIt)
{
    AgentResponseProbe response;
    SResponseGetProject record;
    record.lstProject.resize(3);
    SResponseHeader header;
    header.pData = &record;
    const auto* const pClient = static_cast<const VelCSDK::VelClientSDk*>(VelCSDK::SDKFactory::GetInstance());
    pClient->GetResponseCallBack("source")(3103, nullptr, &header, -1);
    response.OnResponse(3103, nullptr, &header, 0);
    EXPECT_EQ(record.lstProject.size(), 3U);
}

} // namespace
