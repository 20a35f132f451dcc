#include "RecordingLog.h"
#include "sdk/CDataResponse.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/ResultRecords.h>
#include <ktshttpagent/chttpclient.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace
{
using VelCSDK::CDataResponse;
using VelCSDK::IVelClientSDk;
using VelCSDK::SDKFactory;

struct Pending {
    int nType;
    void* pUserData;
};

std::vector<std::string> g_vecCalls;
std::vector<Pending> g_vecPending;
CHttpClientResponse g_fnResponse;

/// A client with its decoders, which adds the type of each reply to `vecTypes`.
IVelClientSDk* ClientReporting(std::vector<int>& vecTypes)
{
    IVelClientSDk* pClient = SDKFactory::GetInstance();
    pClient->Init();
    pClient->SetResponseCallBack(
        [&vecTypes](int nType, const void*, const void*, int) { vecTypes.push_back(nType); });
    return pClient;
}
} // namespace

// A transport that answers open requests when it is shut down, like one that drains.

bool CHttpClientInit()
{
    g_vecCalls.emplace_back("CHttpClientInit");
    return true;
}

void CHttpClientUnInit()
{
    g_vecCalls.emplace_back("CHttpClientUnInit");
    for (const Pending& pending : g_vecPending) {
        g_fnResponse("{\"success\":true}", pending.nType, pending.pUserData, 0);
    }
    g_vecPending.clear();
}

void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse)
{
    g_vecCalls.emplace_back("CHttpClientSetResponseCallBack");
    g_fnResponse = std::move(fnResponse);
}

void CHttpClientSendRequest(int nType, const std::string&, const std::string&, void* pUserData, bool, bool,
                            const std::string&)
{
    g_vecCalls.emplace_back("CHttpClientSendRequest");
    g_vecPending.push_back({nType, pUserData});
}

// Each test destroys the only client of its process, so each needs a process of its own.

TEST(EndingTheClient, EndsTheTransportFirstSoRepliesThatDrainStillReachTheReceiver)
{
    std::vector<int> vecTypes;
    IVelClientSDk* pClient = ClientReporting(vecTypes);
    pClient->GetSupportVer("1");
    pClient->GetUserInfo(1);
    pClient->ReportCycleData("{}");
    SDKFactory::DestoryInstance(pClient);
    EXPECT_EQ(vecTypes, (std::vector<int>{3104, 3100}));
    EXPECT_EQ(g_vecCalls.back(), "CHttpClientUnInit");
}

TEST(EndingTheClient, LetsAReplyThatDrainsFindTheEndpointPathForItsLogLine)
{
    std::vector<int> vecTypes;
    IVelClientSDk* pClient = ClientReporting(vecTypes);
    pClient->SetUrlMap({{3104, "api/ver"}});
    pClient->GetSupportVer("1");
    const Pending pending = g_vecPending.back();
    g_vecPending.clear();
    g_fnResponse("", 3104, pending.pUserData, -42);
    SDKFactory::DestoryInstance(pClient);
    EXPECT_EQ(RecordedLog(), (std::vector<RecordedLine>{{1, "VelCSDK::CDataResponse::CHttpCallBack", 59,
                                                         "proctol:api/ver http-error:-42"}}));
}

TEST(EndingTheClient, EmptiesTheHandlers)
{
    std::vector<int> vecTypes;
    SDKFactory::DestoryInstance(ClientReporting(vecTypes));
    const std::size_t nCalls = g_vecCalls.size();
    CDataResponse::Instance()->CHttpCallBack("{\"success\":true}", 3104, nullptr, 0);
    EXPECT_TRUE(vecTypes.empty());
    ASSERT_EQ(g_vecCalls.size(), nCalls + 1) << "a new instance registers its callback again";
    EXPECT_EQ(g_vecCalls.back(), "CHttpClientSetResponseCallBack");
}

TEST(EndingTheClient, ReleasesTheReceiver)
{
    const auto pState = std::make_shared<int>(0);
    IVelClientSDk* pClient = SDKFactory::GetInstance();
    pClient->SetResponseCallBack([pState](int, const void*, const void*, int) {});
    SDKFactory::DestoryInstance(pClient);
    EXPECT_EQ(pState.use_count(), 1);
}

TEST(EndingTheClient, WorksForOneThatWasNeverInitialised)
{
    SDKFactory::DestoryInstance(SDKFactory::GetInstance());
    EXPECT_EQ(g_vecCalls, (std::vector<std::string>{"CHttpClientInit", "CHttpClientSetResponseCallBack",
                                                    "CHttpClientUnInit"}));
}

TEST(EndingTheClient, DoesNotMakeTheFactoryForgetIt)
{
    IVelClientSDk* pClient = SDKFactory::GetInstance();
    const auto nAddress = reinterpret_cast<std::uintptr_t>(pClient);
    SDKFactory::DestoryInstance(pClient);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(SDKFactory::GetInstance()), nAddress);
    EXPECT_EQ(g_vecCalls.back(), "CHttpClientUnInit");
}

TEST(EndingTheClient, DropsAReplyThatComesTooLateAndReleasesItsUserData)
{
    std::vector<int> vecTypes;
    IVelClientSDk* pClient = ClientReporting(vecTypes);
    pClient->SetUrlMap({{3104, "api/ver"}});
    pClient->GetSupportVer("1");
    pClient->GetProjects("x", "y");
    const std::vector<Pending> vecLate = std::move(g_vecPending);
    g_vecPending.clear();
    SDKFactory::DestoryInstance(pClient);
    g_fnResponse("{\"success\":true}", 3104, vecLate[0].pUserData, 0);
    EXPECT_TRUE(RecordedLog().empty());
    g_fnResponse("Bad Gateway", 3103, vecLate[1].pUserData, -42);
    EXPECT_EQ(RecordedLog().size(), 2U);
    EXPECT_TRUE(vecTypes.empty());
}

TEST(EndingTheClient, MayBeFollowedByReleasingTheReplyPathAgain)
{
    std::vector<int> vecTypes;
    SDKFactory::DestoryInstance(ClientReporting(vecTypes));
    const std::vector<std::string> vecBefore = g_vecCalls;
    CDataResponse::ReleaseInstance();
    CDataResponse::ReleaseInstance();
    EXPECT_EQ(g_vecCalls, vecBefore);
}
