#pragma once

#include "RecordingLog.h"
#include "RecordingTransport.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/ResultRecords.h>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

/// One operation of the client that sends a request, called with fixed arguments.
struct Operation {
    const char* szName;
    int nType;
    void (*fnSend)(VelCSDK::IVelClientSDk&);
};

inline void PrintTo(const Operation& operation, std::ostream* pStream)
{
    *pStream << operation.szName;
}

inline void SendChlStatus(VelCSDK::IVelClientSDk& client)
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = "1";
    info.chl = "2";
    client.ReportChlStatus("tick", info);
}

inline void SendIncubatorStatus(VelCSDK::IVelClientSDk& client)
{
    KTSStartPlugin::tagRepoIncubatorStatus status;
    client.ReportIncubatorStatus(status);
}

inline void SendUploadData(VelCSDK::IVelClientSDk& client)
{
    tagBatteryTestData data{"S1", "B2", "R3", "1.5", "1.4", "3.7", "2024-01-02 03:04:05"};
    client.PostUploadData(data);
}

using VelCSDK::IVelClientSDk;

inline const Operation OP_USER_INFO{"UserInfo", 3100, [](IVelClientSDk& c) { c.GetUserInfo(42); }};
inline const Operation OP_CHL_STATUS{"ChlStatus", 3101, SendChlStatus};
inline const Operation OP_INCUBATOR{"IncubatorStatus", 3102, SendIncubatorStatus};
inline const Operation OP_PROJECTS{"Projects", 3103, [](IVelClientSDk& c) { c.GetProjects("DX1", "tick"); }};
inline const Operation OP_SUPPORT_VER{"SupportVer", 3104, [](IVelClientSDk& c) { c.GetSupportVer("1.2.3"); }};
inline const Operation OP_BATT_STATUS{"BattStatus", 3105, [](IVelClientSDk& c) { c.GetBattStatus("tick"); }};
inline const Operation OP_AUTO_EXPORT{"AutoExport", 3106,
                                      [](IVelClientSDk& c) { c.GetAutoExport("B01", "C02", "DX9"); }};
inline const Operation OP_FTP_PATH{"FtpFilePath", 3107,
                                   [](IVelClientSDk& c) { c.GetFtpFilePath("B01", "C02", "Li", "new"); }};
inline const Operation OP_CHANNEL_CHECK{
    "ChannelCheckData", 3109, [](IVelClientSDk& c) { c.GetChannelCheckData(12, 7, "X", "D1", "3", "p"); }};
inline const Operation OP_IN_COMMON{"WhetherInCommon", 3110,
                                    [](IVelClientSDk& c) { c.GetWhetherInCommon("DX1"); }};
inline const Operation OP_UPLOAD{"UploadData", 3112, SendUploadData};
inline const Operation OP_CYCLE{"CycleData", 3113, [](IVelClientSDk& c) { c.ReportCycleData("{}"); }};
inline const Operation OP_STEP{"StepData", 3113, [](IVelClientSDk& c) { c.ReportStepData("{}"); }};

/// Operations whose replies reach the receiver.
inline const std::vector<Operation>& AnsweredOperations()
{
    static const std::vector<Operation> vecOperations{
        OP_USER_INFO,   OP_CHL_STATUS,  OP_INCUBATOR, OP_PROJECTS,      OP_SUPPORT_VER,
        OP_BATT_STATUS, OP_AUTO_EXPORT, OP_FTP_PATH,  OP_CHANNEL_CHECK, OP_IN_COMMON};
    return vecOperations;
}

/// The record that the decoder of a reply filled; throws, and so fails the test, when there is none.
template <class Record>
const Record& Payload(const SResponseHeader& header)
{
    if (header.pData == nullptr) {
        throw std::logic_error("the header brings no payload");
    }
    return *static_cast<const Record*>(header.pData);
}

/// The base URL of the tests' server.
inline const std::string BASE = "http://10.1.1.5:80/";

/// A JSON text of that many arrays, one inside the other.
inline std::string Nested(std::size_t nLevels)
{
    return std::string(nLevels, '[') + std::string(nLevels, ']');
}

/// The client over a recording transport, with new decoders, the server `BASE` and an empty log.
class SdkTest : public testing::Test
{
protected:
    using Receiver = std::function<void(int nType, const void* pUser, const SResponseHeader&, int nResult)>;

    void SetUp() override
    {
        m_client.Init();
        m_client.SetUrlMap({});
        m_client.SetServerAddr("10.1.1.5", 80);
        SetReceiver([](int, const void*, const SResponseHeader&, int) {});
        m_nSentBefore = m_transport.vecRequests.size();
        ClearRecordedLog();
    }

    /// Answers what a test left open, after replacing the decoders and the receiver.
    void TearDown() override
    {
        m_client.Init();
        SetReceiver([](int, const void*, const SResponseHeader&, int) {});
        m_transport.ReplyAll();
    }

    void SetReceiver(Receiver fnReceiver)
    {
        m_client.SetResponseCallBack(
            [fnReceiver](int nType, const void* pUser, const void* pHeader, int nResult) {
                fnReceiver(nType, pUser, *static_cast<const SResponseHeader*>(pHeader), nResult);
            });
    }

    /// Sends, answers with `strBody` and passes the outcome, which must come exactly once, to `fnReceiver`.
    void Ask(const Operation& operation, const std::string& strBody, const Receiver& fnReceiver,
             int nHttpError = 0)
    {
        int nCalls = 0;
        SetReceiver([&](int nType, const void* pUser, const SResponseHeader& header, int nResult) {
            ++nCalls;
            fnReceiver(nType, pUser, header, nResult);
        });
        operation.fnSend(m_client);
        m_transport.Reply(strBody, nHttpError);
        SetReceiver([](int, const void*, const SResponseHeader&, int) {});
        EXPECT_EQ(nCalls, 1);
    }

    /// What this test has sent.
    std::vector<RecordedRequest> Sent() const
    {
        return {m_transport.vecRequests.begin() + static_cast<std::ptrdiff_t>(m_nSentBefore),
                m_transport.vecRequests.end()};
    }

    /// The one request that this test has sent.
    RecordedRequest OnlyRequest() const
    {
        if (Sent().size() != 1) {
            throw std::logic_error("requests sent: " + std::to_string(Sent().size()));
        }
        return Sent().front();
    }

    IVelClientSDk& m_client = *VelCSDK::SDKFactory::GetInstance();
    RecordingTransport& m_transport = RecordingTransport::Instance();

private:
    std::size_t m_nSentBefore = 0;
};
