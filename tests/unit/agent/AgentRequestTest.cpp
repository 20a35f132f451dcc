#include "AgentProbe.h"
#include "EndpointSettings.h"
#include "RecordingLog.h"
#include "RecordingTransport.h"
#include "SettingRows.h"
#include "SyncWait.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>

namespace
{

/// The request object of a site without settings.
class AgentRequest : public ::testing::Test
{
protected:
    AgentRequest() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", m_root.path().toUtf8()); }

    QTemporaryDir m_root;
};

TEST_F(AgentRequest, ReadsItsSettingsInTheirOrder)
{
    ASSERT_EQ(ENDPOINT_SETTINGS.size(), std::size(ROWS));
    for (std::size_t nRow = 0; nRow < ENDPOINT_SETTINGS.size(); ++nRow) {
        EXPECT_STREQ(ENDPOINT_SETTINGS.at(nRow).szName, ROWS[nRow].szName);
        EXPECT_EQ(ENDPOINT_SETTINGS.at(nRow).nType, ROWS[nRow].nType);
    }
}

TEST_F(AgentRequest, TheRequestObjectInitialisesTheClientOnce)
{
    CUIAgentReq::Instance();
    EXPECT_THAT(RecordingTransport::Instance().vecCalls,
                ::testing::ElementsAre("CHttpClientInit", "CHttpClientSetResponseCallBack"));
}

TEST_F(AgentRequest, StrictWaitsOfAnotherThreadAreNotSetAndThatIsLogged)
{
    CUIAgentReq& request = *CUIAgentReq::Instance();
    for (const bool bStrict : {true, false}) {
        request.SetStrictWaits(!bStrict);
        ClearRecordedLog();
        std::thread([&] { request.SetStrictWaits(bStrict); }).join();
        EXPECT_EQ(request.HasStrictWaits(), !bStrict);
        const std::string strText =
            std::to_string(int{bStrict}) + " is not set: this is not the thread of CUIAgentReq";
        EXPECT_THAT(RecordedLog(),
                    ::testing::ElementsAre(RecordedLine{1, "CUIAgentReq::SetStrictWaits", 1, strText}));
    }
}

// Hosts were built with this size: the members of a subclass follow these.
TEST_F(AgentRequest, TheObjectKeepsItsSize)
{
    EXPECT_EQ(sizeof(CUIAgentReq), sizeof(QObject) + 2 * sizeof(void*));
}

TEST_F(AgentRequest, SixWaitRecordsStartWithTheirInitialValues)
{
    const AgentRequestProbe request;
    EXPECT_EQ(request.m_mapSyncWait.keys(), (QList<int>{3109, 3110, 3112, 3113, 3114, 3115}));
    for (const SyncWait* const pWait : request.m_mapSyncWait) {
        EXPECT_EQ(pWait->loop.parent(), nullptr);
        EXPECT_FALSE(pWait->loop.isRunning());
        EXPECT_FALSE(pWait->bSucc);
        EXPECT_TRUE(pWait->strResult.isEmpty());
        EXPECT_TRUE(pWait->strReason.isEmpty());
        EXPECT_FALSE(pWait->bFlag);
        EXPECT_EQ(pWait->nCode, 404);
        EXPECT_TRUE(pWait->strMessage.isEmpty());
    }
}

TEST_F(AgentRequest, TheServerIsJoinedWithoutAnyCheck)
{
    AgentRequestProbe request;
    EXPECT_EQ(request.JointServerInfo("srv", 8080), "http://srv:8080/");
    EXPECT_EQ(request.JointServerInfo("", 0), "http://:0/");
    EXPECT_EQ(request.JointServerInfo("a b", -1), "http://a b:-1/");
}

TEST_F(AgentRequest, TheInstanceIsOneForAllThreads)
{
    std::vector<CUIAgentReq*> vecSeen(4);
    std::vector<std::thread> vecThreads;
    for (CUIAgentReq*& pSeen : vecSeen) {
        vecThreads.emplace_back([&pSeen] { pSeen = CUIAgentReq::Instance(); });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    EXPECT_EQ(std::set<CUIAgentReq*>(vecSeen.begin(), vecSeen.end()).size(), 1U);
}

} // namespace
