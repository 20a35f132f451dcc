#include "SdkFixture.h"

#include "outbox/OpenOutbox.h"
#include "outbox/Outbox.h"
#include "sdk/VelClientSDk.h"

#include <ktshttpagent/KtsMetrics.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <thread>

namespace
{
using VelCSDK::SDKFactory;
using VelCSDK::VelClientSDk;

class VelClientSdk : public SdkTest
{
};

std::ptrdiff_t CountOf(const std::string& strCall)
{
    const auto& vecCalls = RecordingTransport::Instance().vecCalls;
    return std::count(vecCalls.begin(), vecCalls.end(), strCall);
}

#if defined(__x86_64__) && !defined(_WIN32)
/// The index of a virtual operation in the table of its class. The platform's C++ ABI stores it in a pointer
/// to the operation, as the offset in bytes plus one.
template <class Operation>
std::ptrdiff_t TableIndex(Operation pOperation)
{
    struct Representation {
        std::ptrdiff_t nFunction;
        std::ptrdiff_t nAdjustment;
    } representation{};
    static_assert(sizeof(representation) == sizeof(pOperation));
    std::memcpy(&representation, &pOperation, sizeof(representation));
    EXPECT_EQ(representation.nFunction % 2, 1) << "the operation is not virtual";
    EXPECT_EQ(representation.nAdjustment, 0);
    return (representation.nFunction - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

/// Calls the operation of a slot by its index alone, as a host does that was built with another copy of the
/// header. The destructor, slot 0, takes two entries of the table.
template <class... Arguments>
void CallSlot(IVelClientSDk& client, std::size_t nSlot, Arguments... arguments)
{
    void** pTable = *reinterpret_cast<void***>(&client);
    reinterpret_cast<void (*)(IVelClientSDk*, Arguments...)>(pTable[nSlot + 1])(&client, arguments...);
}
#endif
} // namespace

TEST(VelClientSdkCreation, StartsTheTransportAndThenRegistersTheReceiverOfReplies)
{
    SDKFactory::GetInstance();
    EXPECT_EQ(RecordingTransport::Instance().vecCalls,
              (std::vector<std::string>{"CHttpClientInit", "CHttpClientSetResponseCallBack"}));
    EXPECT_TRUE(RecordingTransport::Instance().fnResponse);
}

TEST(VelClientSdkCreation, LogsALimitOfRepliesThatCannotBeUsed)
{
    setenv("KTSHTTPAGENT_MAX_REPLY_VALUES", "many", 1);
    SDKFactory::GetInstance();
    EXPECT_EQ(RecordedLog(),
              (std::vector<RecordedLine>{{1, "VelCSDK::VelClientSDk::VelClientSDk", 1,
                                          "KTSHTTPAGENT_MAX_REPLY_VALUES is \"many\", not a number from 1 to "
                                          "2147483647; 2000000 stays in force"}}));
}

TEST(VelClientSdkCreation, HappensOnce)
{
    IVelClientSDk* pClient = SDKFactory::GetInstance();
    ASSERT_NE(pClient, nullptr);
    EXPECT_EQ(SDKFactory::GetInstance(), pClient);
    EXPECT_EQ(CountOf("CHttpClientInit"), 1);
    EXPECT_EQ(CountOf("CHttpClientSetResponseCallBack"), 1);
}

TEST(VelClientSdkCreation, HappensOnceFromManyThreads)
{
    std::promise<void> promiseStart;
    const std::shared_future<void> futureStart = promiseStart.get_future().share();
    std::vector<std::future<IVelClientSDk*>> vecClients;
    for (int i = 0; i < 8; ++i) {
        vecClients.push_back(std::async(std::launch::async, [futureStart] {
            futureStart.wait();
            return SDKFactory::GetInstance();
        }));
    }
    promiseStart.set_value();
    for (auto& client : vecClients) {
        EXPECT_EQ(client.get(), SDKFactory::GetInstance());
    }
    EXPECT_EQ(CountOf("CHttpClientInit"), 1);
    EXPECT_EQ(CountOf("CHttpClientSetResponseCallBack"), 1);
}

TEST(VelClientSdkCreation, GivesAClientWithoutBaseUrlThatSendsToTheBarePath)
{
    SDKFactory::GetInstance()->GetSupportVer("1.2.3");
    EXPECT_EQ(RecordingTransport::Instance().vecRequests.back().strUrl,
              "vomd/system/GetSupportVer.action?t=1.2.3");
    RecordingTransport::Instance().ReplyAll();
}

TEST(VelClientSdkCreation, GivesAClientWithoutReceiver)
{
    auto* pClient = static_cast<VelClientSDk*>(SDKFactory::GetInstance());
    EXPECT_FALSE(pClient->GetResponseCallBack("source"));
}

TEST(VelClientSdkCreation, GivesAClientThatSendsBeforeInitAndDropsTheReplies)
{
    IVelClientSDk& client = *SDKFactory::GetInstance();
    int nCalls = 0;
    client.SetResponseCallBack([&nCalls](int, const void*, const void*, int) { ++nCalls; });
    std::size_t nSent = 0;
    for (const Operation& operation : AnsweredOperations()) {
        operation.fnSend(client);
        EXPECT_EQ(RecordingTransport::Instance().vecRequests.size(), ++nSent);
        RecordingTransport::Instance().Reply("{\"success\":true}");
    }
    EXPECT_EQ(nCalls, 0);
    EXPECT_TRUE(RecordedLog().empty());
}

TEST_F(VelClientSdk, InitCallsNothingOfTheTransport)
{
    const std::vector<std::string> vecBefore = m_transport.vecCalls;
    m_client.Init();
    EXPECT_EQ(m_transport.vecCalls, vecBefore);
}

TEST_F(VelClientSdk, InitAgainStillGivesOneAnswerForOneReply)
{
    m_client.Init();
    m_client.Init();
    Ask(OP_SUPPORT_VER, "{\"success\":true}",
        [](int nType, const void*, const SResponseHeader&, int nResult) {
            EXPECT_EQ(nType, 3104);
            EXPECT_EQ(nResult, 0);
        });
}

TEST_F(VelClientSdk, InitAgainKeepsServerPathsAndReceiver)
{
    int nCalls = 0;
    m_client.SetUrlMap({{3104, "api/ver"}});
    SetReceiver([&nCalls](int, const void*, const SResponseHeader&, int) { ++nCalls; });
    m_client.Init();
    m_client.GetSupportVer("1");
    EXPECT_EQ(OnlyRequest().strUrl, "http://10.1.1.5:80/api/ver?t=1");
    m_transport.Reply("{}");
    EXPECT_EQ(nCalls, 1);
}

TEST_F(VelClientSdk, InitBetweenRequestAndReplyLosesNothing)
{
    int nCalls = 0;
    SetReceiver([&nCalls](int, const void*, const SResponseHeader&, int) { ++nCalls; });
    m_client.GetSupportVer("1");
    m_client.Init();
    m_transport.Reply("{}");
    EXPECT_EQ(nCalls, 1);
}

TEST_F(VelClientSdk, EndingNoClientDoesNothing)
{
    const std::vector<std::string> vecBefore = m_transport.vecCalls;
    SDKFactory::DestoryInstance(nullptr);
    EXPECT_EQ(m_transport.vecCalls, vecBefore);
    Ask(OP_SUPPORT_VER, "{\"success\":true}",
        [](int, const void*, const SResponseHeader&, int nResult) { EXPECT_EQ(nResult, 0); });
}

TEST_F(VelClientSdk, MakesTheBaseUrlOfHostAndPort)
{
    struct Row {
        const char* szHost;
        int nPort;
        const char* szBase;
    };
    for (const Row& row : {Row{"192.168.1.20", 8080, "http://192.168.1.20:8080/"}, Row{"h", 0, "http://h:0/"},
                           Row{"h", -1, "http://h:-1/"}, Row{"", 80, "http://:80/"},
                           Row{"http://h", 2147483647, "http://http://h:2147483647/"},
                           Row{"h/", -2147483647 - 1, "http://h/:-2147483648/"}}) {
        m_client.SetServerAddr(row.szHost, row.nPort);
        m_client.GetSupportVer("1.2.3");
        EXPECT_EQ(Sent().back().strUrl, std::string(row.szBase) + "vomd/system/GetSupportVer.action?t=1.2.3");
    }
}

TEST_F(VelClientSdk, TakesABaseUrlVerbatim)
{
    for (const char* szUrl : {"http://srv/api", "http://srv/api/", "https://srv:8443/", "srv", "", " "}) {
        m_client.SetServerUrl(szUrl);
        m_client.ReportCycleData("{}");
        EXPECT_EQ(Sent().back().strUrl, std::string(szUrl) + "open/test-cabinet/add/kostrel/cycle");
    }
}

TEST_F(VelClientSdk, SendsEachRequestToTheServerThatWasSetLast)
{
    m_client.SetServerUrl("http://a/");
    m_client.GetSupportVer("1");
    m_client.SetServerAddr("b", 1);
    m_client.GetSupportVer("2");
    m_client.SetServerUrl("http://c/");
    m_client.GetSupportVer("3");
    ASSERT_EQ(Sent().size(), 3U);
    EXPECT_EQ(Sent()[0].strUrl, "http://a/vomd/system/GetSupportVer.action?t=1");
    EXPECT_EQ(Sent()[1].strUrl, "http://b:1/vomd/system/GetSupportVer.action?t=2");
    EXPECT_EQ(Sent()[2].strUrl, "http://c/vomd/system/GetSupportVer.action?t=3");
}

TEST_F(VelClientSdk, AnswersWithTheReceiverThatWasSetLast)
{
    int nOld = 0;
    int nNew = 0;
    m_client.SetResponseCallBack([&nOld](int, const void*, const void*, int) { ++nOld; });
    m_client.GetSupportVer("1");
    m_client.SetResponseCallBack([&nNew](int, const void*, const void*, int) { ++nNew; });
    m_transport.Reply("{}");
    EXPECT_EQ(nOld, 0);
    EXPECT_EQ(nNew, 1);
}

TEST_F(VelClientSdk, ReleasesAReceiverThatIsReplaced)
{
    const auto pState = std::make_shared<int>(0);
    m_client.SetResponseCallBack([pState](int, const void*, const void*, int) {});
    EXPECT_GT(pState.use_count(), 1);
    m_client.SetResponseCallBack([](int, const void*, const void*, int) {});
    EXPECT_EQ(pState.use_count(), 1);
}

TEST_F(VelClientSdk, HandsOutACopyOfTheReceiverUnderAnyKey)
{
    int nCalls = 0;
    m_client.SetResponseCallBack([&nCalls](int, const void*, const void*, int) { ++nCalls; });
    for (const char* szKey : {"source", "", "anything"}) {
        static_cast<VelClientSDk&>(m_client).GetResponseCallBack(szKey)(0, nullptr, nullptr, 0);
    }
    EXPECT_EQ(nCalls, 3);
}

/// A receiver that asks the client for its receiver whenever it is copied, as often as the test wants.
class AskingReceiver
{
public:
    AskingReceiver(const VelClientSDk& client, bool& bAsks) : m_client(client), m_bAsks(bAsks) {}
    AskingReceiver(const AskingReceiver& other) : m_client(other.m_client), m_bAsks(other.m_bAsks)
    {
        if (std::exchange(m_bAsks, false)) {
            EXPECT_TRUE(m_client.GetResponseCallBack("source"));
        }
    }
    ~AskingReceiver() = default;
    AskingReceiver& operator=(const AskingReceiver&) = delete;

    void operator()(int, const void*, const void*, int) const {}

private:
    const VelClientSDk& m_client;
    bool& m_bAsks;
};

TEST_F(VelClientSdk, LocksNothingWhileTheReceiverIsCopied)
{
    const auto& client = static_cast<const VelClientSDk&>(m_client);
    bool bAsks = false;
    m_client.SetResponseCallBack(AskingReceiver(client, bAsks));
    bAsks = true;
    EXPECT_TRUE(client.GetResponseCallBack("source"));
    EXPECT_FALSE(bAsks);
}

TEST_F(VelClientSdk, ALogThatThrowsCostsNoAnswer)
{
    int nAnswers = 0;
    int nFailures = 0;
    m_client.SetResponseCallBack([&](int, const void*, const void*, int nResult) {
        ++nAnswers;
        nFailures += nResult == 0 ? 0 : 1;
    });
    const auto reply = [this](const std::string& strBody, int nHttpError) {
        ClearRecordedLog();
        LetLogThrow(true);
        m_transport.Reply(strBody, nHttpError);
        LetLogThrow(false);
        EXPECT_FALSE(RecordedLog().empty());
    };
    m_client.GetUserInfo(1);
    reply("no JSON", 0);
    m_client.GetBattStatus("1");
    reply("[" + std::string(3'000'000, ','), 0);
    m_client.GetSupportVer("1");
    reply("", -7);
    EXPECT_EQ(nAnswers, 3);
    EXPECT_EQ(nFailures, 3);
}

TEST_F(VelClientSdk, AReceiverMayReplaceItselfWhileItIsCalled)
{
    const auto pState = std::make_shared<std::string>("before");
    m_client.SetResponseCallBack([this, pState](int, const void*, const void*, int) {
        m_client.SetResponseCallBack([](int, const void*, const void*, int) {});
        *pState = "after";
    });
    m_client.GetSupportVer("1");
    m_transport.Reply("{}");
    EXPECT_EQ(*pState, "after");
    EXPECT_EQ(pState.use_count(), 1);
}

TEST_F(VelClientSdk, AReceiverMaySendTheNextRequest)
{
    std::vector<int> vecTypes;
    SetReceiver([this, &vecTypes](int nType, const void*, const SResponseHeader&, int) {
        vecTypes.push_back(nType);
        if (nType == 3104) {
            m_client.GetUserInfo(1);
        }
    });
    m_client.GetSupportVer("1");
    m_transport.Reply("{}");
    m_transport.Reply("{}");
    EXPECT_EQ(vecTypes, (std::vector<int>{3104, 3100}));
}

TEST_F(VelClientSdk, ReservedHasNoEffect)
{
    const std::vector<std::string> vecBefore = m_transport.vecCalls;
    m_client.Reserved();
    EXPECT_EQ(m_transport.vecCalls, vecBefore);
    EXPECT_TRUE(RecordedLog().empty());
    m_client.GetSupportVer("1");
    EXPECT_EQ(OnlyRequest().strUrl, "http://10.1.1.5:80/vomd/system/GetSupportVer.action?t=1");
}

#if defined(__x86_64__) && !defined(_WIN32)
TEST_F(VelClientSdk, TakesAReplyWithTheWordsOfTheOutboxForOneIfTheTransportTellsNothing)
{
    ASSERT_TRUE(outbox::OpenIn((std::filesystem::path(std::getenv("HOME")) / "outbox").u8string()));
    m_client.GetWhetherInCommon("X");
    m_transport.Reply(outbox::StoredBody());
    m_client.GetWhetherInCommon("X");
    m_transport.Reply(R"({"success":true,"data":[]})"); // other words
    outbox::Close(outbox::Milliseconds(0));
    const SKtsMetrics figures = KtsMetrics();
    ASSERT_EQ(figures.vecRequests.size(), 1U);
    EXPECT_EQ(figures.vecRequests.front().nSucceeded, 2U);
    EXPECT_EQ(figures.vecRequests.front().nStored, 0U);
}

TEST(VelClientSdkTable, HoldsEachOperationAtItsPlace)
{
    const std::vector<std::ptrdiff_t> vecIndex{TableIndex(&IVelClientSDk::Init),
                                               TableIndex(&IVelClientSDk::SetServerAddr),
                                               TableIndex(&IVelClientSDk::SetServerUrl),
                                               TableIndex(&IVelClientSDk::SetResponseCallBack),
                                               TableIndex(&IVelClientSDk::Reserved),
                                               TableIndex(&IVelClientSDk::SetUrlMap),
                                               TableIndex(&IVelClientSDk::GetUrl),
                                               TableIndex(&IVelClientSDk::GetSupportVer),
                                               TableIndex(&IVelClientSDk::GetUserInfo),
                                               TableIndex(&IVelClientSDk::ReportChlStatus),
                                               TableIndex(&IVelClientSDk::ReportIncubatorStatus),
                                               TableIndex(&IVelClientSDk::GetProjects),
                                               TableIndex(&IVelClientSDk::GetBattStatus),
                                               TableIndex(&IVelClientSDk::GetAutoExport),
                                               TableIndex(&IVelClientSDk::GetFtpFilePath),
                                               TableIndex(&IVelClientSDk::GetChannelUpDownPlatform),
                                               TableIndex(&IVelClientSDk::GetChannelCheckData),
                                               TableIndex(&IVelClientSDk::GetWhetherInCommon),
                                               TableIndex(&IVelClientSDk::GetCdlxFileListByDxtmList),
                                               TableIndex(&IVelClientSDk::PostUploadData),
                                               TableIndex(&IVelClientSDk::ReportCycleData),
                                               TableIndex(&IVelClientSDk::ReportStepData)};
    ASSERT_EQ(vecIndex.size(), 22U);
    for (std::size_t i = 0; i < vecIndex.size(); ++i) {
        EXPECT_EQ(vecIndex[i], static_cast<std::ptrdiff_t>(i + 2)) << "operation of slot " << i + 1;
    }
}

TEST(VelClientSdkTable, BeginsWithTheDestructorAndHasNoData)
{
    EXPECT_EQ(sizeof(IVelClientSDk), sizeof(void*));
    EXPECT_TRUE(std::has_virtual_destructor_v<IVelClientSDk>);
    EXPECT_TRUE((std::is_base_of_v<IVelClientSDk, VelClientSDk>));
}

TEST_F(VelClientSdk, AnswersCallsThatNameThePlaceAlone)
{
    CallSlot(m_client, 1);
    CallSlot(m_client, 5);
    EXPECT_TRUE(Sent().empty());
    CallSlot<std::string, int>(m_client, 2, "h", 9);
    CallSlot<int>(m_client, 9, -5);
    CallSlot<std::string>(m_client, 3, "http://srv/");
    CallSlot<std::string>(m_client, 8, "1");
    CallSlot<std::string, std::string>(m_client, 12, "x", "y");
    CallSlot<std::string>(m_client, 13, "1");
    CallSlot<std::string>(m_client, 18, "x");
    CallSlot<std::string>(m_client, 19, "x");
    CallSlot<std::string>(m_client, 22, "{}");
    ASSERT_EQ(Sent().size(), 6U);
    EXPECT_EQ(Sent()[0].strUrl, "http://h:9/posts/-5");
    EXPECT_EQ(Sent()[1].strUrl, "http://srv/vomd/system/GetSupportVer.action?t=1");
    EXPECT_EQ(Sent()[2].nType, 3103);
    EXPECT_EQ(Sent()[3].nType, 3105);
    EXPECT_EQ(Sent()[4].nType, 3110);
    EXPECT_EQ(Sent()[5].nType, 3113);
}
#endif
