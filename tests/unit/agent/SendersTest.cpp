#include "RecordingLog.h"
#include "RecordingTransport.h"
#include "ServerUrl.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>

#include <QSignalSpy>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace
{

using ::testing::HasSubstr;

class Senders : public ::testing::Test
{
protected:
    Senders() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", m_root.path().toUtf8()); }
    ~Senders() override { m_transport.ReplyAll(); }

    const RecordedRequest& Last() const { return m_transport.vecRequests.back(); }

    QTemporaryDir m_root;
    RecordingTransport& m_transport = RecordingTransport::Instance();
    CUIAgentReq& m_request = *CUIAgentReq::Instance();
};

/// One sender, and what it must send.
struct SenderCase {
    const char* szName;
    std::function<void(CUIAgentReq&)> fnSend;
    int nType;
    bool bPost;
    std::string strUrl;
    std::string strBody;
};

class Sender : public Senders, public ::testing::WithParamInterface<SenderCase>
{
};

tagBatteryTestData Battery()
{
    return {"S1", "B1", "R1", "3.1", "3.0", "4.2", "2026-01-02 03:04:05"};
}

const std::string BATTERY_BODY = R"({"batchNo":"B1","chargingCapacity":"3.1","dischargeCapacity":"3.0",)"
                                 R"("resourceNo":"R1","siteNo":"S1","uploadTime":"2026-01-02 03:04:05",)"
                                 R"("voltage":"4.2"})"
                                 "\n";

const SenderCase SENDER_CASES[] = {
    {"UserInfo", [](CUIAgentReq& r) { r.SendGetUserInfo("h", 80, -5); }, 3100, false, "http://h:80/posts/-5",
     ""},
    {"SupportVer", [](CUIAgentReq& r) { r.SendGetSupportVer("192.168.1.20", 8080, "1.2.3"); }, 3104, false,
     "http://192.168.1.20:8080/vomd/system/GetSupportVer.action?t=1.2.3", "{\"t\":\"1.2.3\"}\n"},
    {"Projects",
     [](CUIAgentReq& r) {
         r.SendGetProjects("h", 80, {"A", "B", "C"}, "7");
     },
     3103, false, "http://h:80/vomd/system/GetSyxm.action?dxtm=A,B,C&t=7",
     "{\"dxtm\":\"A,B,C\",\"t\":\"7\"}\n"},
    {"ProjectsOfNoCell", [](CUIAgentReq& r) { r.SendGetProjects("h", 80, {}, ""); }, 3103, false,
     "http://h:80/vomd/system/GetSyxm.action?dxtm=&t=", "{\"dxtm\":\"\",\"t\":\"\"}\n"},
    {"BattStatus", [](CUIAgentReq& r) { r.SendGetBattStatus("h", 80, "1"); }, 3105, false,
     "http://h:80/vomd/system/GetDxzt.action?t=1", "{\"t\":\"1\"}\n"},
    {"AutoExport", [](CUIAgentReq& r) { r.SendGetAutoExport("10.1.1.5", 80, "B01", "C02", "DX9"); }, 3106,
     false, "http://10.1.1.5:80/vomd/system/autoExport.action?bjtzser=B01&csxmser=C02&dxtm=DX9",
     "{\"bjtzser\":\"B01\",\"csxmser\":\"C02\",\"dxtm\":\"DX9\"}\n"},
    {"FtpFilePath", [](CUIAgentReq& r) { r.SendGetFtpFilePath("h", 80, "a", "b", "c d", "e"); }, 3107, false,
     "http://h:80/vomd/system/xmmb/getFtpFilePath.action?batteryStatus=e&bjtzser=a&csxmser=b&supplier=c d",
     "{\"batteryStatus\":\"e\",\"bjtzser\":\"a\",\"csxmser\":\"b\",\"supplier\":\"c d\"}\n"},
    {"ChannelCheckData",
     [](CUIAgentReq& r) {
         r.SendGetChannelCheckData("h", 80, {12, 7, "X", "D1", "3", "p"});
     },
     3109, false,
     "http://h:80/vomd/system/"
     "channelCheckData.action?chl=3&deviceId=D1&dxtm=X&purpose=p&wtNumId=12&xmNameId=7",
     "{\"chl\":\"3\",\"deviceId\":\"D1\",\"dxtm\":\"X\",\"purpose\":\"p\",\"wtNumId\":12,\"xmNameId\":7}\n"},
    {"WhetherInCommon", [](CUIAgentReq& r) { r.SendGetWhetherInCommon("h", 80, QStringLiteral("电芯")); },
     3110, false, "http://h:80/vomd/system/whetherInCommon.action?dxtm=电芯",
     "{\"dxtm\":\"\\u7535\\u82af\"}\n"},
    {"IncubatorStatus",
     [](CUIAgentReq& r) {
         KTSStartPlugin::tagRepoIncubatorStatus status{"box 1", false, 25.5F};
         r.SendPostReportIncubatorStatus("h", 80, status);
     },
     3102, true, "http://h:80/vomd/system/incubatorStatus.action",
     "{\"name\":\"box 1\",\"status\":\"busy\",\"temperature\":25.5}\n"},
    {"UploadData",
     [](CUIAgentReq& r) {
         tagBatteryTestData data = Battery();
         r.SendPostUploadData("h", 80, data);
     },
     3112, true, "http://h:80/dev-api/connector/DataCollectionController_KR_KR/saveData", BATTERY_BODY},
    {"CycleData", [](CUIAgentReq& r) { r.SendPostReportCycleData("https://srv/api/", "{x:1}"); }, 3113, true,
     "https://srv/api/open/test-cabinet/add/kostrel/cycle", "[{x:1}]"},
    {"CycleDataOfNothing", [](CUIAgentReq& r) { r.SendPostReportCycleData("http://srv/api", ""); }, 3113,
     true, "http://srv/apiopen/test-cabinet/add/kostrel/cycle", "[]"},
    {"StepData", [](CUIAgentReq& r) { r.SendPostReportStepData("http://srv/", "{y:2}"); }, 3113, true,
     "http://srv/open/test-cabinet/add/kostrel/cycle", "[{y:2}]"},
};

TEST_P(Sender, PutsItsArgumentsOnTheWire)
{
    GetParam().fnSend(m_request);
    ASSERT_EQ(m_transport.vecRequests.size(), 1U);
    EXPECT_EQ(Last().nType, GetParam().nType);
    EXPECT_EQ(Last().bPost, GetParam().bPost);
    EXPECT_EQ(Last().strUrl, GetParam().strUrl);
    EXPECT_EQ(Last().strBody, GetParam().strBody);
}

INSTANTIATE_TEST_SUITE_P(Each, Sender, ::testing::ValuesIn(SENDER_CASES),
                         [](const auto& sender) { return sender.param.szName; });

TEST_P(Sender, AsksAServerThatIsNamedByAddressAndPortByHttpsWithTls)
{
    VelCSDK::SetTls(true);
    GetParam().fnSend(m_request);
    std::string strUrl = GetParam().strUrl;
    if (GetParam().nType != 3113) { // for this type the caller names a complete URL
        strUrl.insert(4, "s");
    }
    EXPECT_EQ(Last().strUrl, strUrl);
}

TEST_F(Senders, AChannelStatusReportPassesTextAndRecord)
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = "2";
    info.chl = "0";
    info.dxtm = "DX1";
    m_request.SendPostReportChlStatus("h", 80, "a b", info);
    EXPECT_EQ(Last().nType, 3101);
    EXPECT_EQ(Last().strUrl, "http://h:80/vomd/system/addstatuslog.action?t=a b");
    EXPECT_THAT(Last().strBody, ::testing::AllOf(HasSubstr(R"("box":2,)"), HasSubstr(R"("chl":"1",)"),
                                                 HasSubstr(R"("dxtm":"DX1")")));
}

TEST_F(Senders, EscapeQueryTextsOnlyWhileTheyAreToldTo)
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = "2";
    info.chl = "0";
    const std::string strBefore = "http://h:80/vomd/system/addstatuslog.action?t=";
    EXPECT_FALSE(m_request.HasQueryEscaping());
    m_request.SendPostReportChlStatus("h", 80, "a&b#1", info);
    EXPECT_EQ(Last().strUrl, strBefore + "a&b#1");
    m_request.SetQueryEscaping(true);
    EXPECT_TRUE(m_request.HasQueryEscaping());
    m_request.SendPostReportChlStatus("h", 80, "a&b#1", info);
    EXPECT_EQ(Last().strUrl, strBefore + "a%26b%231");
    m_request.SetQueryEscaping(false);
    m_request.SendPostReportChlStatus("h", 80, "a&b#1", info);
    EXPECT_EQ(Last().strUrl, strBefore + "a&b#1");
}

TEST_F(Senders, AChannelStatusReportWithTextBehindItsNumbersIsSent)
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = " 12abc";
    info.chl = "0x1";
    m_request.SendPostReportChlStatus("h", 80, "t", info);
    ASSERT_EQ(m_transport.vecRequests.size(), 1U);
    EXPECT_THAT(Last().strBody, ::testing::AllOf(HasSubstr(R"("box":12,)"), HasSubstr(R"("chl":"1",)")));
}

TEST_F(Senders, AnIPv6AddressGoesOutAsItIsGiven)
{
    m_request.SendGetBattStatus("[::1]", 8080, "1");
    EXPECT_EQ(Last().strUrl, "http://[::1]:8080/vomd/system/GetDxzt.action?t=1");
    m_request.SendGetBattStatus("::1", 8080, "1");
    EXPECT_EQ(Last().strUrl, "http://::1:8080/vomd/system/GetDxzt.action?t=1");
}

TEST_F(Senders, AChannelStatusReportThatCannotBeBuiltIsAnsweredFalseAndLogged)
{
    CUIAgentRsp& response = *CUIAgentRsp::Instance();
    for (const char* const szChl : {"", "x", "99999999999"}) {
        ClearRecordedLog();
        const QSignalSpy spy(&response, &CUIAgentRsp::SigPostReportChlStatRet);
        KTSStartPlugin::tagRepoChlStatusInfo info;
        info.box = "1";
        info.chl = szChl;
        EXPECT_NO_THROW(m_request.SendPostReportChlStatus("h", 80, "t", info));
        ASSERT_EQ(spy.count(), 1) << szChl;
        EXPECT_EQ(spy.front().front(), QVariant(false));
        ASSERT_EQ(RecordedLog().size(), 1U);
        EXPECT_EQ(RecordedLog().front().nLevel, 1);
        EXPECT_THAT(RecordedLog().front().strText, HasSubstr("stoi"));
    }
    EXPECT_TRUE(m_transport.vecRequests.empty());
}

struct FailedField {
    const char* szName;
    std::string strBox;
    std::string strChl;
    std::string strLine;
};

class ConversionFailure : public Senders, public ::testing::WithParamInterface<FailedField>
{
};

TEST_P(ConversionFailure, SaysInTheLogWhichFieldFailedAndWhatItHeld)
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = GetParam().strBox;
    info.chl = GetParam().strChl;
    m_request.SendPostReportChlStatus("h", 80, "t", info);
    ASSERT_EQ(RecordedLog().size(), 1U);
    EXPECT_EQ(RecordedLog().front().nLevel, 1);
    EXPECT_EQ(RecordedLog().front().strText, GetParam().strLine);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ConversionFailure,
    ::testing::Values(
        FailedField{"Box", "x7", "2", "box is \"x7\": invalid stoi argument"},
        FailedField{"Channel", "1", "", "chl is \"\": invalid stoi argument"},
        FailedField{"ChannelBeyondAnInt", "1", "2147483648",
                    "chl is \"2147483648\": stoi argument out of range"},
        FailedField{"BothNamesTheFirst", "x", "y", "box is \"x\": invalid stoi argument"},
        FailedField{"LongText", std::string(1000, 'x'), "2",
                    "box is \"" + std::string(64, 'x') + "...\" (1000 bytes): invalid stoi argument"},
        FailedField{"LongTextOfCharactersOfThreeBytes", "x" + std::string(63, ' ') + "电", "2",
                    "box is \"x" + std::string(63, ' ') + "...\" (67 bytes): invalid stoi argument"},
        FailedField{"CutWithinACharacter", std::string(63, 'x') + "电", "2",
                    "box is \"" + std::string(63, 'x') + "...\" (66 bytes): invalid stoi argument"},
        FailedField{"TextWithoutTheBeginningOfACharacter", std::string(1000, '\x80'), "2",
                    "box is \"...\" (1000 bytes): invalid stoi argument"},
        FailedField{"Nul",
                    std::string("\0"
                                "7",
                                2),
                    "2", "box is \"\\x007\": invalid stoi argument"}),
    [](const auto& field) { return field.param.szName; });

TEST_F(Senders, AChannelStatusReportThatCannotBeBuiltNeedsNoReceiver)
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    EXPECT_NO_THROW(m_request.SendPostReportChlStatus("h", 80, "t", info));
    EXPECT_TRUE(m_transport.vecRequests.empty());
}

TEST_F(Senders, TwoSendersSendNothingButSetTheServer)
{
    m_request.SendGetChannelUpDownPlatform("first", 1, 1, 2, "a", "b", "c", "d", 3, "e");
    EXPECT_TRUE(m_transport.vecRequests.empty());
    VelCSDK::SDKFactory::GetInstance()->GetBattStatus("1");
    EXPECT_THAT(Last().strUrl, ::testing::StartsWith("http://first:1/"));

    m_request.SendGetCdlxFileListByDxtmList("second", 2, {"A", "B"});
    EXPECT_EQ(m_transport.vecRequests.size(), 1U);
    VelCSDK::SDKFactory::GetInstance()->GetBattStatus("1");
    EXPECT_THAT(Last().strUrl, ::testing::StartsWith("http://second:2/"));
}

TEST_F(Senders, EachRequestGoesToTheServerThatItsOwnCallNames)
{
    m_request.SendGetSupportVer("one", 1, "a");
    m_request.SendPostReportCycleData("http://two/", "");
    m_request.SendGetSupportVer("three", 3, "b");
    EXPECT_THAT(m_transport.vecRequests[0].strUrl, ::testing::StartsWith("http://one:1/"));
    EXPECT_THAT(m_transport.vecRequests[1].strUrl, ::testing::StartsWith("http://two/"));
    EXPECT_THAT(m_transport.vecRequests[2].strUrl, ::testing::StartsWith("http://three:3/"));
}

} // namespace
