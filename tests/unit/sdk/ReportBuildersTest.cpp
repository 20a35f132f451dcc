#include "SdkFixture.h"

#include "platform/system/Sockets.h"

#include <array>
#include <cstring>
#include <limits>
#include <memory>

namespace
{
const std::string HEADER = "Content-Type: application/json; charset=utf-8/gb2312";

std::string HostName()
{
    const SocketsStartUp sockets;
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size()) == 0 ? name.data() : "";
}

KTSStartPlugin::tagRepoChlStatusInfo NumberedInfo()
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = "1";
    info.chl = "2";
    return info;
}

/// A record in which each field has a different value.
KTSStartPlugin::tagRepoChlStatusInfo WholeInfo()
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.PEXAVer = "f1";
    info.action = "f2";
    info.action_desc = "f3";
    info.backup_dir = "f4";
    info.box = "5";
    info.cMax = "f6";
    info.chl = "7";
    info.chlType = 8;
    info.com = "f9";
    info.current = 10.5;
    info.cycle = 11;
    info.deviceId = "f12";
    info.disch_capacity = 13.25;
    info.disch_retention = -14.5;
    info.dxtm = "f15";
    info.errorParam = "f16";
    info.errorTime = "f17";
    info.spare = "f18";
    info.reason = 19;
    info.reason_desc = "f20";
    info.retentionUnder = "f21";
    info.stepStatus = "f22";
    info.step_state = "f23";
    info.stopTime = "f24";
    info.ver = "f25";
    info.voltage = 3.0;
    info.wtNumId = 27;
    info.xmNameId = 28;
    info.dczt = "f29";
    info.deviceModelType = "f30";
    info.deviceRange = "f31";
    return info;
}

class ReportBuilders : public SdkTest
{
protected:
    /// The body with which a status of this record is reported.
    std::string BodyOf(KTSStartPlugin::tagRepoChlStatusInfo info)
    {
        m_client.ReportChlStatus("t", info);
        return Sent().back().strBody;
    }

    void ExpectInBody(const KTSStartPlugin::tagRepoChlStatusInfo& info, const std::string& strMember)
    {
        const std::string strBody = BodyOf(info);
        EXPECT_NE(strBody.find(strMember + ","), std::string::npos) << strMember << " is not in " << strBody;
    }
};

struct NumberText {
    const char* szText;
    const char* szBox;
    const char* szChl;
};

struct Refused {
    const char* szBox;
    const char* szChl;
    bool bRange;
};
} // namespace

TEST_F(ReportBuilders, AChannelStatusTakesEveryFieldButTheSpareOne)
{
    auto info = WholeInfo();
    m_client.ReportChlStatus("tick", info);
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.nType, 3101);
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/addstatuslog.action?t=tick");
    EXPECT_EQ(request.strBody,
              R"({"PEXAVer":"f1","action":"f2","action_desc":"f3","backup_dir":"f4","box":5,"cMax":"f6",)"
              R"("chl":"8","chlType":8,"com":"f9","current":10.5,"cycle":12,"dczt":"f29","deviceId":"f12",)"
              R"("deviceModelType":"f30","deviceRange":"f31","disch_capacity":13.25,)"
              R"("disch_retention":-14.5,"dxtm":"f15","errorParam":"f16","errorTime":"f17",)"
              R"("hostname":")" +
                  HostName() +
                  R"(","reason":19,"reason_desc":"f20","retentionUnder":"f21","stepStatus":"f22",)"
                  R"("step_state":"f23","stopTime":"f24","ver":"f25","voltage":3.0,"wtNumId":27,)"
                  R"("xmNameId":28})"
                  "\n");
    EXPECT_TRUE(request.bPost);
    EXPECT_TRUE(request.bHeader);
    EXPECT_EQ(request.strHeader, HEADER);
    ASSERT_NE(request.pUserData, nullptr);
    EXPECT_EQ(*static_cast<const std::string*>(request.pUserData), "tick");
}

TEST_F(ReportBuilders, AChannelStatusOfAnEmptyRecordSendsEveryMemberAllTheSame)
{
    EXPECT_EQ(BodyOf(NumberedInfo()),
              R"({"PEXAVer":"","action":"","action_desc":"","backup_dir":"","box":1,"cMax":"","chl":"3",)"
              R"("chlType":0,"com":"","current":0.0,"cycle":1,"dczt":"","deviceId":"","deviceModelType":"",)"
              R"("deviceRange":"","disch_capacity":0.0,"disch_retention":0.0,"dxtm":"","errorParam":"",)"
              R"("errorTime":"","hostname":")" +
                  HostName() +
                  R"(","reason":0,"reason_desc":"","retentionUnder":"","stepStatus":"","step_state":"",)"
                  R"("stopTime":"","ver":"","voltage":0.0,"wtNumId":0,"xmNameId":0})"
                  "\n");
}

TEST_F(ReportBuilders, AChannelStatusLeavesTheRecordAlone)
{
    auto info = WholeInfo();
    m_client.ReportChlStatus("tick", info);
    EXPECT_EQ(info.chl, "7");
    EXPECT_EQ(info.cycle, 11U);
    EXPECT_EQ(info.box, "5");
    EXPECT_EQ(info.spare, "f18");
}

TEST_F(ReportBuilders, AChannelStatusPutsItsTickBehindTheUrlUnescaped)
{
    for (const std::string& strTick : {std::string("a b"), std::string(), std::string("x&y=z#"),
                                       std::string("电\r\n"), std::string(100000, '7')}) {
        auto info = NumberedInfo();
        m_client.ReportChlStatus(strTick, info);
        EXPECT_EQ(Sent().back().strUrl, BASE + "vomd/system/addstatuslog.action?t=" + strTick);
        EXPECT_EQ(*static_cast<const std::string*>(Sent().back().pUserData), strTick);
    }
}

TEST_F(ReportBuilders, AChannelStatusEscapesItsTickInTheUrlAloneWhenItIsToldTo)
{
    const std::string strTick = "x&y=z# 电\xff";
    VelCSDK::SDKFactory::SetQueryEscaping(true);
    auto info = NumberedInfo();
    info.dxtm = "a&b";
    m_client.ReportChlStatus(strTick, info);
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/addstatuslog.action?t=x%26y%3Dz%23%20%E7%94%B5%FF");
    EXPECT_EQ(*static_cast<const std::string*>(request.pUserData), strTick);
    EXPECT_NE(request.strBody.find(R"("dxtm":"a&b")"), std::string::npos);
}

TEST_F(ReportBuilders, BoxAndChannelAreReadAsStoiReadsThem)
{
    for (const NumberText& row :
         {NumberText{"0", "0", "1"}, NumberText{" 12abc", "12", "13"}, NumberText{"-1", "-1", "0"},
          NumberText{"+7", "7", "8"}, NumberText{"007", "7", "8"}, NumberText{"\t\n 3", "3", "4"},
          NumberText{"3.9", "3", "4"}, NumberText{"0x10", "0", "1"}, NumberText{"0x1", "0", "1"},
          NumberText{"1e3", "1", "2"}, NumberText{"2147483646", "2147483646", "2147483647"},
          NumberText{"-2147483648", "-2147483648", "-2147483647"}}) {
        auto info = NumberedInfo();
        info.box = row.szText;
        ExpectInBody(info, std::string("\"box\":") + row.szBox);
        info = NumberedInfo();
        info.chl = row.szText;
        ExpectInBody(info, std::string("\"chl\":\"") + row.szChl + "\"");
    }
}

// One more than the largest int does not fit into an int, but it does fit into the text that is sent.
TEST_F(ReportBuilders, TheLargestChannelIsStillSentOneHigher)
{
    auto info = NumberedInfo();
    info.chl = "2147483647";
    ExpectInBody(info, R"("chl":"2147483648")");
}

TEST_F(ReportBuilders, TheCycleCountsFromOneAndWrapsAfterTheLast)
{
    auto info = NumberedInfo();
    info.cycle = 0;
    ExpectInBody(info, R"("cycle":1)");
    info.cycle = 2147483647U;
    ExpectInBody(info, R"("cycle":2147483648)");
    info.cycle = std::numeric_limits<unsigned int>::max();
    ExpectInBody(info, R"("cycle":0)");
}

TEST_F(ReportBuilders, UnsignedFieldsReachTheirLargestValue)
{
    auto info = NumberedInfo();
    info.chlType = info.reason = info.wtNumId = info.xmNameId = std::numeric_limits<unsigned int>::max();
    ExpectInBody(info, R"("chlType":4294967295)");
    ExpectInBody(info, R"("reason":4294967295)");
    ExpectInBody(info, R"("wtNumId":4294967295)");
    EXPECT_NE(BodyOf(info).find(R"("xmNameId":4294967295})"), std::string::npos);
}

TEST_F(ReportBuilders, NumbersAreWrittenWithSeventeenDigits)
{
    struct Row {
        double dNumber;
        const char* szText;
    };
    for (const Row& row :
         {Row{0.1, "0.10000000000000001"}, Row{3.0, "3.0"}, Row{-0.0, "-0.0"}, Row{1e21, "1e+21"},
          Row{1e300, "1.0000000000000001e+300"}, Row{123456789.125, "123456789.125"},
          Row{5e-324, "4.9406564584124654e-324"}, Row{std::numeric_limits<double>::quiet_NaN(), "null"},
          Row{std::numeric_limits<double>::infinity(), "1e+9999"},
          Row{-std::numeric_limits<double>::infinity(), "-1e+9999"}}) {
        auto info = NumberedInfo();
        info.current = info.voltage = info.disch_capacity = info.disch_retention = row.dNumber;
        for (const char* szName : {"current", "voltage", "disch_capacity", "disch_retention"}) {
            ExpectInBody(info, std::string("\"") + szName + "\":" + row.szText);
        }
    }
}

TEST_F(ReportBuilders, AwkwardTextsAreWrittenAsJsonEscapesThem)
{
    auto info = NumberedInfo();
    info.errorParam = "\"电池\" \\ \r\n\x01";
    ExpectInBody(info, R"("errorParam":"\"\u7535\u6c60\" \\ \r\n\u0001")");
    info.errorParam = std::string("a\0b", 3);
    ExpectInBody(info, R"("errorParam":"a\u0000b")");
    info.errorParam = std::string(1000000, 'x');
    ExpectInBody(info, "\"errorParam\":\"" + info.errorParam + "\"");
}

TEST_F(ReportBuilders, BoxOrChannelThatIsNoNumberFailsAndSendsNothing)
{
    for (const Refused& row :
         {Refused{"", "2", false}, Refused{"abc", "2", false}, Refused{"-", "2", false},
          Refused{" ", "2", false}, Refused{"--1", "2", false}, Refused{"电", "2", false},
          Refused{"2147483648", "2", true}, Refused{"-2147483649", "2", true},
          Refused{"99999999999999999999999", "2", true}, Refused{"1", "", false}, Refused{"1", "x1", false},
          Refused{"1", "2147483648", true}, Refused{"1", "-2147483649", true},
          Refused{"x", "2147483648", false}, Refused{"2147483648", "x", true}}) {
        auto info = NumberedInfo();
        info.box = row.szBox;
        info.chl = row.szChl;
        if (row.bRange) {
            EXPECT_THROW(m_client.ReportChlStatus("tick", info), std::out_of_range) << row.szBox << row.szChl;
        } else {
            EXPECT_THROW(m_client.ReportChlStatus("tick", info), std::invalid_argument)
                << row.szBox << row.szChl;
        }
    }
    EXPECT_TRUE(Sent().empty());
    EXPECT_TRUE(RecordedLog().empty());
}

TEST_F(ReportBuilders, BoxOrChannelThatIsNoNumberFailsWithTheSameTextOnEverySystem)
{
    const auto textOfFailure = [this](const char* szBox, const char* szChl) -> std::string {
        auto info = NumberedInfo();
        info.box = szBox;
        info.chl = szChl;
        try {
            m_client.ReportChlStatus("tick", info);
        } catch (const std::exception& error) {
            return error.what();
        }
        return "sent";
    };
    EXPECT_EQ(textOfFailure("", "2"), "invalid stoi argument");
    EXPECT_EQ(textOfFailure("1", "x1"), "invalid stoi argument");
    EXPECT_EQ(textOfFailure("2147483648", "2"), "stoi argument out of range");
    EXPECT_EQ(textOfFailure("1", "-99999999999999999999"), "stoi argument out of range");
    EXPECT_EQ(textOfFailure(" +12abc", "0x1"), "sent");
}

TEST_F(ReportBuilders, AfterAFailedStatusTheNextOneIsSent)
{
    auto info = NumberedInfo();
    info.box = "";
    EXPECT_THROW(m_client.ReportChlStatus("tick", info), std::invalid_argument);
    info.box = "1";
    m_client.ReportChlStatus("tick", info);
    EXPECT_EQ(OnlyRequest().nType, 3101);
}

TEST_F(ReportBuilders, AnIncubatorStatusCarriesNoUserDataAndNoQuery)
{
    KTSStartPlugin::tagRepoIncubatorStatus status;
    status.name = "box 1";
    status.status = true;
    status.temperature = 25.5F;
    m_client.ReportIncubatorStatus(status);
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.nType, 3102);
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/incubatorStatus.action");
    EXPECT_EQ(request.strBody, "{\"name\":\"box 1\",\"status\":\"idle\",\"temperature\":25.5}\n");
    EXPECT_EQ(request.pUserData, nullptr);
    EXPECT_TRUE(request.bPost);
    EXPECT_TRUE(request.bHeader);
    EXPECT_EQ(request.strHeader, HEADER);
}

TEST_F(ReportBuilders, AnIncubatorThatIsNotIdleIsBusy)
{
    KTSStartPlugin::tagRepoIncubatorStatus status;
    status.name = "电\"";
    m_client.ReportIncubatorStatus(status);
    EXPECT_EQ(OnlyRequest().strBody, "{\"name\":\"\\u7535\\\"\",\"status\":\"busy\",\"temperature\":0.0}\n");
    EXPECT_EQ(OnlyRequest().pUserData, nullptr);
}

TEST_F(ReportBuilders, ATemperatureIsWidenedToDouble)
{
    KTSStartPlugin::tagRepoIncubatorStatus status;
    status.temperature = 36.6F;
    m_client.ReportIncubatorStatus(status);
    EXPECT_EQ(Sent().back().strBody,
              "{\"name\":\"\",\"status\":\"busy\",\"temperature\":36.599998474121094}\n");
    status.temperature = -40.25F;
    m_client.ReportIncubatorStatus(status);
    EXPECT_EQ(Sent().back().strBody, "{\"name\":\"\",\"status\":\"busy\",\"temperature\":-40.25}\n");
}

TEST_F(ReportBuilders, TestDataIsSentAsTextsAndTravelsWithACopyOfItself)
{
    tagBatteryTestData data{"S1", "B2", "R3", "1.5", "1.4", "3.7", "2024-01-02 03:04:05"};
    m_client.PostUploadData(data);
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.nType, 3112);
    EXPECT_EQ(request.strUrl, BASE + "dev-api/connector/DataCollectionController_KR_KR/saveData");
    EXPECT_EQ(request.strBody, R"({"batchNo":"B2","chargingCapacity":"1.5","dischargeCapacity":"1.4",)"
                               R"("resourceNo":"R3","siteNo":"S1","uploadTime":"2024-01-02 03:04:05",)"
                               R"("voltage":"3.7"})"
                               "\n");
    EXPECT_TRUE(request.bPost);
    EXPECT_TRUE(request.bHeader);
    EXPECT_EQ(request.strHeader, HEADER);
    ASSERT_NE(request.pUserData, nullptr);
    ASSERT_NE(request.pUserData, &data);
    data = {};
    const auto& copy = *static_cast<const tagBatteryTestData*>(request.pUserData);
    EXPECT_EQ((std::vector<std::string>{copy.siteNo, copy.batchNo, copy.resourceNo, copy.chargingCapacity,
                                        copy.dischargeCapacity, copy.voltage, copy.uploadTime}),
              (std::vector<std::string>{"S1", "B2", "R3", "1.5", "1.4", "3.7", "2024-01-02 03:04:05"}));
}

TEST_F(ReportBuilders, EmptyAndAwkwardTestDataIsSentToo)
{
    tagBatteryTestData data;
    data.siteNo = "电\"\n";
    m_client.PostUploadData(data);
    EXPECT_EQ(OnlyRequest().strBody,
              R"({"batchNo":"","chargingCapacity":"","dischargeCapacity":"","resourceNo":"",)"
              R"("siteNo":"\u7535\"\n","uploadTime":"","voltage":""})"
              "\n");
}

TEST_F(ReportBuilders, CycleAndStepDataAreSentAsGivenToTheCycleEndpointWithoutAHeaderLine)
{
    m_client.SetServerUrl("http://srv/api");
    for (const auto fnReport : {&IVelClientSDk::ReportCycleData, &IVelClientSDk::ReportStepData}) {
        for (const std::string& strJson :
             {std::string("{}"), std::string(), std::string("not json"), std::string("{ \"电\" :\r\n 1 }"),
              std::string("a\0b", 3), std::string("\xff"), std::string(1000000, 'x')}) {
            (m_client.*fnReport)(strJson);
            const RecordedRequest request = Sent().back();
            EXPECT_EQ(request.nType, 3113);
            EXPECT_EQ(request.strUrl, "http://srv/apiopen/test-cabinet/add/kostrel/cycle");
            EXPECT_EQ(request.strBody, strJson);
            EXPECT_TRUE(request.bPost);
            EXPECT_FALSE(request.bHeader);
            EXPECT_EQ(request.strHeader, "");
            ASSERT_NE(request.pUserData, nullptr);
            EXPECT_EQ(*static_cast<const std::string*>(request.pUserData), strJson);
        }
    }
}

TEST_F(ReportBuilders, UseThePathOfTheSite)
{
    for (const auto& [operation, strTail] :
         std::vector<std::pair<Operation, std::string>>{{OP_CHL_STATUS, "?t=tick"},
                                                        {OP_INCUBATOR, ""},
                                                        {OP_UPLOAD, ""},
                                                        {OP_CYCLE, ""},
                                                        {OP_STEP, ""}}) {
        m_client.SetUrlMap({{operation.nType, "site"}});
        operation.fnSend(m_client);
        EXPECT_EQ(Sent().back().strUrl, BASE + "site" + strTail);
    }
}

TEST_F(ReportBuilders, StepDataIgnoresAPathOfItsOwn)
{
    m_client.SetUrlMap({{3114, "site/step"}});
    m_client.ReportStepData("{}");
    EXPECT_EQ(OnlyRequest().strUrl, BASE + "open/test-cabinet/add/kostrel/cycle");
}
