// What the agent does when a host, a site's own transport or a second object does something unusual.

#include "AgentProbe.h"
#include "MovableRecord.h"
#include "RecordingLog.h"
#include "RecordingTransport.h"

#include <ktshttpagent/ResultRecords.h>

#include <QSignalSpy>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::Field;

namespace
{

constexpr auto PATIENCE = 60s;

class AgentRare : public testing::Test
{
protected:
    AgentRare() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", m_root.path().toUtf8()); }

    static void ExpectLine(const std::string& strWhere, const std::string& strText)
    {
        EXPECT_THAT(RecordedLog(), Contains(AllOf(Field(&RecordedLine::strWhere, strWhere),
                                                  Field(&RecordedLine::strText, strText))));
    }

    QTemporaryDir m_root;
};

TEST_F(AgentRare, StrictWaitsAreSetOnItsOwnThreadAlone)
{
    CUIAgentReq& request = *CUIAgentReq::Instance();
    for (const bool bStrict : {true, false}) {
        std::thread([&] { request.SetStrictWaits(bStrict); }).join();
        ExpectLine("CUIAgentReq::SetStrictWaits",
                   std::string(bStrict ? "1" : "0") + " is not set: this is not the thread of CUIAgentReq");
    }
    EXPECT_FALSE(request.HasStrictWaits());
}

TEST_F(AgentRare, AVersionWithoutSupportIsNamedAndNoSuccess)
{
    AgentResponseProbe response;
    const QSignalSpy answers(&response, &CUIAgentRsp::SigGetSupportVerRet);
    SSupportVer record;
    record.strVersion = "0.9";
    record.bSupport = false;
    SResponseHeader header;
    header.pData = &record;
    response.OnResponse(3104, nullptr, &header, 0);
    ASSERT_EQ(answers.count(), 1);
    EXPECT_EQ(answers.front(), (QList<QVariant>{false, "0.9"}));
}

TEST_F(AgentRare, AReportThatTheTransportThrowsAtSaysWhy)
{
    RecordingTransport::Instance().fnOnSend = [](const RecordedRequest&) {
        throw std::runtime_error("nothing goes out");
    };
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = "1";
    info.chl = "1";
    CUIAgentReq::Instance()->SendPostReportChlStatus("127.0.0.1", 1, "1", info);
    ExpectLine("CUIAgentReq::SendPostReportChlStatus", "nothing goes out");
}

TEST_F(AgentRare, TheEndOfAnObjectDoesNotWaitForAnothersReceiver)
{
    constexpr auto GRACE = 5s; // for an object's own receivers
    CUIAgentReq::Instance();
    auto pEnding = std::make_unique<AgentResponseProbe>();
    const AgentResponseProbe delivering; // the latest object gets the answers
    std::promise<void> begun;
    std::promise<void> open;
    QObject::connect(&delivering, &CUIAgentRsp::SigGetSupportVerRet, [&] {
        begun.set_value();
        open.get_future().wait();
    });
    CUIAgentReq::Instance()->SendGetSupportVer("h", 80, "1");
    std::thread delivery([] { RecordingTransport::Instance().Reply(R"({"success":true})"); });
    EXPECT_EQ(begun.get_future().wait_for(PATIENCE), std::future_status::ready);
    const auto start = std::chrono::steady_clock::now();
    pEnding.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, GRACE);
    open.set_value();
    delivery.join();
}

TEST_F(AgentRare, NoRecordIsMoved)
{
    const MovableRecord movable(nullptr);
    EXPECT_FALSE(MovableRecord::Take(nullptr));
}

} // namespace
