// Both doubles in one test: a host that uses both interfaces.

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/testing/KtsScriptedNetwork.h>
#include <ktshttpagent/testing/KtsScriptedTransport.h>

#include <gtest/gtest.h>

#include <QObject>

namespace RequestType = VelCSDK::RequestType;
using namespace std::chrono_literals;

namespace
{

TEST(BothInterfaces, AreScriptedAtTheSameTime)
{
    KtsScriptedTransport transport;
    KtsScriptedNetwork network;
    transport.On(RequestType::GetSupportVer, KtsReply::Body(R"({"success":true})"));
    network.On(RequestType::GetWhetherInCommon, KtsReply::Body("{}").After(200ms));
    QObject context;
    bool bAnswered = false;
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, &context,
                     [&](bool bSucc) { bAnswered = bSucc; });
    CUIAgentReq& request = *CUIAgentReq::Instance();
    request.SendGetSupportVer("server", 1, "1");
    bool bCommon = false;
    request.SendGetWhetherInCommonEx("server", 1, 60'000, "CELL-1", bCommon);
    EXPECT_EQ(request.LastOutcome().eEnd, EBlockingEnd::Answered);
    EXPECT_TRUE(bAnswered) << "a signal is delivered while a blocking call waits";
    EXPECT_EQ(transport.Sent().size(), 1U);
    EXPECT_EQ(network.Sent().size(), 1U);
}

} // namespace
