#include "KtsagentProcess.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

#include <QJsonDocument>

using testing::HasSubstr;
using testing::StartsWith;

namespace
{

/// An operation that a new lab server answers with success.
struct AnsweredOperation {
    const char* szName;
    int nId;
    QStringList lstOptions; ///< besides the server
    const char* szSignal;   ///< the arguments of the signal, as JSON
};

/// An operation that never answers.
struct SilentOperation {
    const char* szName;
    int nId;
    QStringList lstOptions;
    const char* szTarget; ///< of the request; null when none is sent
    const char* szBody;
};

class Operation : public KtsagentProcess
{
protected:
    Operation() { m_server.Start(); }

    LabServer m_server;
};

class AnsweredOperations : public Operation, public testing::WithParamInterface<AnsweredOperation>
{
};

class SilentOperations : public Operation, public testing::WithParamInterface<SilentOperation>
{
protected:
    /// The two reports that take a base URL get that instead of the server.
    QStringList Arguments() const
    {
        const bool bUrl = GetParam().lstOptions.contains("--data");
        const QString strServer = Loopback(m_server.Port());
        return QStringList{GetParam().szName} +
               (bUrl ? QStringList{"--url", "http://" + strServer + "/"}
                     : QStringList{"--server", strServer}) +
               GetParam().lstOptions;
    }
};

template <class Parameter>
std::string NameOf(const testing::TestParamInfo<Parameter>& info)
{
    return QString(info.param.szName).remove('-').toStdString();
}

} // namespace

TEST_P(AnsweredOperations, SucceedAndPrintTheWholeSignal)
{
    const KtsagentRun run =
        Run(QStringList{GetParam().szName, "--server", Loopback(m_server.Port()), "--json"} +
            GetParam().lstOptions);

    EXPECT_EQ(run.nExit, 0);
    EXPECT_EQ(run.strErr, "");
    const QJsonObject object = run.Object();
    EXPECT_EQ(object.keys(), QStringList({"id", "milliseconds", "operation", "outcome", "signal"}));
    EXPECT_EQ(object["operation"], GetParam().szName);
    EXPECT_EQ(object["id"], GetParam().nId);
    EXPECT_EQ(object["outcome"], "success");
    EXPECT_EQ(object["signal"].toObject(), QJsonDocument::fromJson(GetParam().szSignal).object())
        << run.strOut;
    EXPECT_EQ(m_server.Exchanges().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Operation, AnsweredOperations,
    testing::Values(
        AnsweredOperation{
            "user-info",
            3100,
            {"--user-id", "7"},
            R"({"bSucc": true, "varData": {"id": 7, "title": "Technician", "author": "Chen Jie"}})"},
        AnsweredOperation{
            "report-chl-status", 3101, {"--t", "1.1.0", "--box", "1", "--chl", "0"}, R"({"bSucc": true})"},
        AnsweredOperation{"report-incubator",
                          3102,
                          {"--name", "INC-01", "--status", "idle", "--temperature", "25.5"},
                          R"({"bSucc": true})"},
        AnsweredOperation{
            "projects",
            3103,
            {"--dxtm", "CELL-0002", "--t", "1.1.0"},
            R"({"bSucc": true, "vData": {"bSuccess": true, "strUserText": "1.1.0", "lstProject": [
                              {"xh": "1", "wtdh": {"id": "1202", "name": "WT-2024-1202"},
                               "csType": {"id": "6", "name": "存储"}, "xmClassify": {"id": "12", "name": "高温性能"},
                               "xmName": {"id": "131", "name": "60℃存储7天"}}]}})"},
        AnsweredOperation{
            "support-ver", 3104, {"--t", "1.1.0"}, R"({"bSucc": true, "strTickCount": "1.1.0"})"},
        AnsweredOperation{"batt-status",
                          3105,
                          {"--t", "1.1.0"},
                          R"({"bSucc": true, "vData": {"bSuccess": true, "lstBattery": [
                              {"id": 1, "name": "测试前", "lstStatus": [1, 2]},
                              {"id": 2, "name": "测试中", "lstStatus": [3, 4]},
                              {"id": 3, "name": "测试后", "lstStatus": [5, 6, 7]}]}})"},
        AnsweredOperation{"auto-export",
                          3106,
                          {"--bjtzser", "B01", "--csxmser", "C02", "--dxtm", "CELL-0001"},
                          R"({"bSucc": true, "vData": {"bSuccess": true, "strAnodeMaterial": "NCM811",
                              "strBatchNumber": "B2405-17", "strContainerNumber": "BOX-12",
                              "strCustomer": "Northwind Mobility", "strDiaphragm": "PE 9um",
                              "strElectrolyte": "LiPF6 1.1M", "strNegativeMaterial": "Graphite",
                              "strOrderNO": "WT-2024-1201", "strPlace": "Hall A", "strProjectClassify": "电性能",
                              "strShareOrder": "", "strShareSample": "", "strSystemCapacity": "3.2Ah",
                              "strTestClassify": "DVT", "strTestProject": "常温1C循环",
                              "strTestPurpose": "Release of batch B2405-17", "strTestReporter": "Li Wei",
                              "strTestType": "循环寿命", "strThickRat": "1.04", "strType": "18650"}})"},
        AnsweredOperation{
            "ftp-path",
            3107,
            {"--bjtzser", "B01", "--csxmser", "C03", "--supplier", "Harbour Storage", "--batteryStatus", "2"},
            R"({"bSucc": true, "vData": {"bSuccess": true, "bPermit": false,
                              "strFtpFilePath": "/data/harbour/B01/C03"}})"},
        AnsweredOperation{"channel-check",
                          3109,
                          {"--wtNumId", "1201", "--xmNameId=-7", "--dxtm", "CELL-0001", "--deviceId",
                           "KTS-0007", "--chl", "8", "--purpose", "cycle life"},
                          R"({"bSucc": true, "strMessage": "checked", "strAllowBoot": "no",
                              "strReason": "Channel 8 waits for calibration",
                              "varRequestData": {"wtNumId": 1201, "xmNameId": -7, "dxtm": "CELL-0001",
                              "deviceId": "KTS-0007", "chl": "8", "purpose": "cycle life"}})"},
        AnsweredOperation{"in-common",
                          3110,
                          {"--dxtm", "CELL-0099"},
                          R"({"bSucc": true, "bIsCommon": true, "strDxtm": "CELL-0099"})"}),
    NameOf<AnsweredOperation>);

TEST_P(SilentOperations, EndWithSuccessOnceTheirRequestIsDelivered)
{
    const KtsagentRun run = Run(Arguments() + QStringList{"--json"});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.Object()["operation"], GetParam().szName);
    EXPECT_EQ(run.Object()["id"], GetParam().nId);
    EXPECT_TRUE(run.Object()["signal"].isNull());
    // The program has ended, so whatever it sent has arrived.
    const std::vector<LabExchange> vecSeen = m_server.Exchanges();
    if (GetParam().szTarget == nullptr) {
        EXPECT_EQ(run.Object()["outcome"], "nothing is sent");
        EXPECT_TRUE(vecSeen.empty());
        return;
    }
    EXPECT_EQ(run.Object()["outcome"], "sent; this operation has no answer");
    EXPECT_THAT(run.strErr, HasSubstr("delivered while the program ends"));
    ASSERT_EQ(vecSeen.size(), 1U);
    EXPECT_EQ(vecSeen[0].strTarget, GetParam().szTarget);
    EXPECT_EQ(QJsonDocument::fromJson(vecSeen[0].strBody.c_str()),
              QJsonDocument::fromJson(GetParam().szBody));
    EXPECT_EQ(vecSeen[0].nStatus, 200) << vecSeen[0].strReply;
}

INSTANTIATE_TEST_SUITE_P(
    Operation, SilentOperations,
    testing::Values(SilentOperation{"channel-up-down", 3108, {}, nullptr, ""},
                    SilentOperation{"cdlx-files", 3111, {"--dxtm", "A,B"}, nullptr, ""},
                    SilentOperation{
                        "upload-data",
                        3112,
                        {"--siteNo", "S1", "--batchNo", "B1", "--resourceNo", "R1", "--chargingCapacity",
                         "3.21", "--dischargeCapacity", "3.17", "--voltage", "3.65", "--uploadTime",
                         "2024-05-17 08:30:00"},
                        "/dev-api/connector/DataCollectionController_KR_KR/saveData",
                        R"({"siteNo": "S1", "batchNo": "B1", "resourceNo": "R1", "chargingCapacity": "3.21",
                            "dischargeCapacity": "3.17", "voltage": "3.65", "uploadTime": "2024-05-17 08:30:00"})"},
                    SilentOperation{"report-cycle",
                                    3113,
                                    {"--data", R"({"cycle":1})"},
                                    "/open/test-cabinet/add/kostrel/cycle",
                                    R"([{"cycle": 1}])"},
                    SilentOperation{"report-step",
                                    3113,
                                    {"--data", R"({"step":1},{"step":2})"},
                                    "/open/test-cabinet/add/kostrel/cycle",
                                    R"([{"step": 1}, {"step": 2}])"}),
    NameOf<SilentOperation>);

TEST_F(Operation, PrintsTextForPeopleWithoutJson)
{
    const KtsagentRun run = Run({"batt-status", "--server", Loopback(m_server.Port()), "--t", "1.1.0"});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_THAT(run.strOut, StartsWith("operation: batt-status\nid: 3105\noutcome: success\nmilliseconds: "));
    EXPECT_THAT(run.strOut, HasSubstr("signal:\n"
                                      "  bSucc: true\n"
                                      "  vData:\n"
                                      "    bSuccess: true\n"
                                      "    lstBattery:\n"
                                      "      -\n"
                                      "        id: 1\n"
                                      "        name: 测试前\n"
                                      "        lstStatus:\n"
                                      "          - 1\n"
                                      "          - 2\n"
                                      "      -\n"
                                      "        id: 2\n"));
}

TEST_F(Operation, TakesBarcodesRepeatedAndWithCommas)
{
    Run({"projects", "--server", Loopback(m_server.Port()), "--dxtm", "A,B", "--dxtm", "C", "--t", "1"});

    ASSERT_EQ(m_server.Exchanges().size(), 1U);
    EXPECT_EQ(m_server.Exchanges()[0].strTarget, "/vomd/system/GetSyxm.action?dxtm=A,B,C&t=1");
}

TEST_F(Operation, TakesValuesThatAreEmptyOrBeginWithADash)
{
    Run({"auto-export", "--server", Loopback(m_server.Port()), "--bjtzser=-x", "--csxmser=", "--dxtm", ""});

    ASSERT_EQ(m_server.Exchanges().size(), 1U);
    EXPECT_EQ(m_server.Exchanges()[0].strTarget, "/vomd/system/autoExport.action?bjtzser=-x&csxmser=&dxtm=");
}

TEST_F(Operation, ReachesAnIPv6AddressWithBracketsAndWithoutThem)
{
    LabServerOptions options;
    options.strAddress = "::1";
    LabServer server(options);
    try {
        server.Start();
    } catch (const std::runtime_error& e) {
        GTEST_SKIP() << "no IPv6 here: " << e.what();
    }

    ASSERT_GT(server.Port(), 9999) << "or its digits could be a part of the address";

    for (const char* const szServer : {"[::1]:%1", "::1:%1", "0:0:0:0:0:0:0:1:%1", "http://[::1]:%1/"}) {
        const KtsagentRun run =
            Run({"support-ver", "--server", QString(szServer).arg(server.Port()), "--t", "1.1.0"});
        EXPECT_EQ(run.nExit, 0) << szServer << ": " << run.strErr;
    }
    EXPECT_EQ(server.Exchanges().size(), 4U);
}

TEST_F(Operation, TakesAUrlForItsServer)
{
    qputenv("KTSHTTPAGENT_TLS", "on");
    const QString strUrl = "http://" + Loopback(m_server.Port()) + "/";

    const KtsagentRun run = Run({"support-ver", "--server", strUrl, "--t", "1.1.0", "--json"});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.Signal()["bSucc"], true);
}
