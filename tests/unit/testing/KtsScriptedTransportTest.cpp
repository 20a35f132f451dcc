// The scripted transport under a host: its replies, delays, failures, and its end.

#include "Receiver.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/KtsMetrics.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/testing/KtsScriptedTransport.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QObject>
#include <QTest>

#include <algorithm>
#include <array>
#include <map>
#include <thread>
#include <utility>

using namespace std::chrono_literals;
using VelCSDK::SDKFactory;
namespace RequestType = VelCSDK::RequestType;

namespace
{

constexpr int PATIENCE_MS = 60'000;

TEST(KtsScriptedTransport, RepliesReachTheHostAsSignalsOnItsOwnThread)
{
    KtsScriptedTransport transport;
    transport.On(RequestType::GetSupportVer, KtsReply::Body(R"({"success":true})"));
    QObject context;
    std::vector<std::pair<bool, QString>> vecAnswers;
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, &context,
                     [&](bool bSucc, const QString& strT) { vecAnswers.emplace_back(bSucc, strT); });
    CUIAgentReq::Instance()->SendGetSupportVer("no.such.server", 8080, "1.1.0");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !vecAnswers.empty(); }, PATIENCE_MS));
    EXPECT_EQ(vecAnswers.front(), std::make_pair(true, QString("1.1.0")));
    ASSERT_EQ(transport.Sent().size(), 1U);
    EXPECT_EQ(transport.Sent()[0].strUrl,
              "http://no.such.server:8080/vomd/system/GetSupportVer.action?t=1.1.0");
}

TEST(KtsScriptedTransport, CountsInTheFiguresAsTheNetworkDoes)
{
    KtsScriptedTransport transport;
    transport.On(RequestType::GetSupportVer, KtsReply::Failure(EKtsFault::TimedOut).Times(1));
    transport.On(RequestType::GetSupportVer, KtsReply::Body("busy", 503));
    QObject context;
    int nAnswers = 0;
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, &context,
                     [&](bool bSucc) { nAnswers += bSucc ? 0 : 1; });
    for (int nRequest = 0; nRequest < 2; ++nRequest) {
        CUIAgentReq::Instance()->SendGetSupportVer("server", 8080, "1");
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return nAnswers == 2; }, PATIENCE_MS));
    const SKtsMetrics figures = KtsMetrics();
    const auto found =
        std::find_if(figures.vecRequests.begin(), figures.vecRequests.end(), [](const auto& row) {
            return row.nType == RequestType::GetSupportVer && !row.bBlocking;
        });
    ASSERT_NE(found, figures.vecRequests.end());
    EXPECT_EQ(found->arFailed.at(static_cast<std::size_t>(EKtsFailure::TimedOut)), 1U);
    EXPECT_EQ(found->arFailed.at(static_cast<std::size_t>(EKtsFailure::HttpStatus)), 1U);
}

TEST(KtsScriptedTransport, FailsWithTheOutcomeOfEachFault)
{
    const std::map<EKtsFault, int> mapOutcomes = {
        {EKtsFault::NameNotFound, CHttpOutcome::NameNotFound},
        {EKtsFault::ConnectionRefused, CHttpOutcome::ConnectionRefused},
        {EKtsFault::ConnectionReset, CHttpOutcome::ConnectionReset},
        {EKtsFault::NoReply, CHttpOutcome::NoReply},
        {EKtsFault::TlsFailed, CHttpOutcome::TlsFailed},
        {EKtsFault::UntrustedCertificate, CHttpOutcome::UntrustedCertificate},
        {EKtsFault::TimedOut, CHttpOutcome::TimedOut},
    };
    KtsScriptedTransport transport;
    Receiver receiver;
    std::vector<int> vecExpected;
    for (const auto& [eFault, nOutcome] : mapOutcomes) {
        transport.OnAny(KtsReply::Failure(eFault).Times(1));
        vecExpected.push_back(nOutcome);
        Receiver::Get(1);
    }
    std::vector<int> vecErrors;
    for (const ReceivedCall& call : receiver.Wait(vecExpected.size())) {
        vecErrors.push_back(call.nHttpError);
    }
    EXPECT_EQ(vecErrors, vecExpected);
}

TEST(KtsScriptedTransport, TakesEachStatusFrom200To299ForASuccess)
{
    KtsScriptedTransport transport;
    Receiver receiver;
    for (const int nStatus : {200, 299, 300, 404, 502, 199}) {
        transport.OnAny(KtsReply::Body("b", nStatus).RetryAfter(9s).Times(1));
        Receiver::Get(1);
    }
    std::vector<int> vecErrors;
    std::vector<long long> vecRetries;
    for (const ReceivedCall& call : receiver.Wait(6)) {
        vecErrors.push_back(call.nHttpError);
        vecRetries.push_back(call.nRetryAfter);
        EXPECT_EQ(call.strBody, "b");
    }
    EXPECT_THAT(vecErrors, ::testing::ElementsAre(0, 0, 300, 404, 502, 199));
    EXPECT_THAT(vecRetries, ::testing::ElementsAre(-1, -1, 9, 9, 9, 9));
}

TEST(KtsScriptedTransport, RepliesWithoutADelayComeInTheOrderOfTheirRequests)
{
    constexpr int REQUESTS = 500;
    KtsScriptedTransport transport;
    transport.OnAny(KtsReply::Body("{}"));
    Receiver receiver;
    for (int nType = 0; nType < REQUESTS; ++nType) {
        Receiver::Get(nType);
    }
    const auto vecCalls = receiver.Wait(REQUESTS);
    ASSERT_EQ(vecCalls.size(), std::size_t{REQUESTS});
    for (int nType = 0; nType < REQUESTS; ++nType) {
        ASSERT_EQ(vecCalls[static_cast<std::size_t>(nType)].nType, nType);
    }
}

TEST(KtsScriptedTransport, ADelayHoldsUpItsOwnReplyOnly)
{
    KtsScriptedTransport transport;
    Receiver receiver;
    transport.On(1, KtsReply::Body("late").After(300ms));
    transport.On(2, KtsReply::Body("less late").After(20ms));
    transport.On(3, KtsReply::Body("at once"));
    const auto tpBegin = std::chrono::steady_clock::now();
    for (const int nType : {1, 2, 3}) {
        Receiver::Get(nType);
    }
    const auto vecCalls = receiver.Wait(3);
    EXPECT_GE(std::chrono::steady_clock::now() - tpBegin, 300ms);
    ASSERT_EQ(vecCalls.size(), 3U);
    EXPECT_EQ(vecCalls[0].nType, 3);
    EXPECT_EQ(vecCalls[2].nType, 1);
}

TEST(KtsScriptedTransport, WhatNeverComesIsCancelledWhenTheTransportStops)
{
    KtsScriptedTransport transport;
    Receiver receiver;
    transport.On(1, KtsReply::Never());
    transport.On(2, KtsReply::Body("too late").After(1h));
    const auto tpBegin = std::chrono::steady_clock::now();
    Receiver::Get(1);
    Receiver::Get(2);
    CHttpClientUnInit();
    const auto vecCalls = receiver.Wait(2);
    EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, 30s);
    ASSERT_EQ(vecCalls.size(), 2U);
    EXPECT_EQ(vecCalls[0].nHttpError, CHttpOutcome::Cancelled);
    EXPECT_EQ(vecCalls[1].nHttpError, CHttpOutcome::Cancelled);
}

TEST(KtsScriptedTransport, WhatNeverComesIsCancelledWhenItIsDestroyed)
{
    Receiver receiver;
    {
        KtsScriptedTransport transport;
        transport.On(1, KtsReply::Never());
        transport.On(2, KtsReply::Body("too late").After(1h));
        Receiver::Get(1);
        Receiver::Get(2);
    }
    const auto vecCalls = receiver.Wait(2);
    ASSERT_EQ(vecCalls.size(), 2U);
    EXPECT_EQ(vecCalls[0].nHttpError, CHttpOutcome::Cancelled);
    EXPECT_EQ(vecCalls[1].nHttpError, CHttpOutcome::Cancelled);
}

TEST(KtsScriptedTransport, ASecondOneTakesOverAndEndsByItself)
{
    Receiver receiver;
    for (const char* const szBody : {"of the first", "of the second"}) {
        KtsScriptedTransport transport;
        transport.OnAny(KtsReply::Body(szBody));
        const std::size_t nBefore = receiver.Wait(0).size();
        Receiver::Get(1);
        EXPECT_EQ(receiver.Wait(nBefore + 1).back().strBody, szBody);
        EXPECT_EQ(transport.Sent().size(), 1U);
    }
}

TEST(KtsScriptedTransport, ServesManyThreadsEachRequestOnce)
{
    constexpr std::size_t THREADS = 8;
    constexpr std::size_t EACH = 200;
    KtsScriptedTransport transport;
    Receiver receiver;
    transport.On(1, KtsReply::Body("at once"));
    transport.On(2, KtsReply::Body("late").After(1ms));
    transport.On(3, KtsReply::Failure(EKtsFault::ConnectionReset));
    std::array<std::thread, THREADS> arThreads;
    for (std::thread& thread : arThreads) {
        thread = std::thread([] {
            for (std::size_t nRequest = 0; nRequest < EACH; ++nRequest) {
                Receiver::Get(1 + static_cast<int>(nRequest % 3));
            }
        });
    }
    for (std::thread& thread : arThreads) {
        thread.join();
    }
    EXPECT_EQ(receiver.Wait(THREADS * EACH).size(), THREADS * EACH);
    CHttpClientUnInit();
    EXPECT_EQ(receiver.Wait(0).size(), THREADS * EACH) << "none came twice";
    EXPECT_EQ(transport.Sent().size(), THREADS * EACH);
}

TEST(KtsScriptedTransport, GivesNoReplyBeforeItsDelayIsOver)
{
    Receiver receiver;
    KtsScriptedTransport transport;
    transport.OnAny(KtsReply::Body("late").After(1ms));
    for (std::size_t nRequest = 1; nRequest <= 20; ++nRequest) {
        const auto tpSent = std::chrono::steady_clock::now();
        Receiver::Get(1);
        ASSERT_EQ(receiver.Wait(nRequest).size(), nRequest);
        EXPECT_GE(std::chrono::steady_clock::now() - tpSent, 1ms);
    }
}

TEST(KtsScriptedTransport, MayGetRulesWhileThreadsSend)
{
    constexpr std::size_t REQUESTS = 1'000;
    Receiver receiver;
    KtsScriptedTransport transport;
    transport.OnAny(KtsReply::Body("any"));
    std::thread sender([] {
        for (std::size_t nRequest = 0; nRequest < REQUESTS; ++nRequest) {
            Receiver::Get(1);
        }
    });
    for (std::size_t nRule = 0; nRule < REQUESTS; ++nRule) {
        transport.On(2, KtsReply::Body("other"));
    }
    sender.join();
    EXPECT_EQ(receiver.Wait(REQUESTS).size(), REQUESTS);
    EXPECT_TRUE(transport.Unscripted().empty());
}

TEST(KtsScriptedTransport, MayBeDestroyedWhileThreadsSend)
{
    constexpr std::size_t REQUESTS = 300;
    Receiver receiver;
    std::thread sender;
    {
        KtsScriptedTransport transport;
        transport.OnAny(KtsReply::Body("late").After(1ms));
        sender = std::thread([] {
            for (std::size_t nRequest = 0; nRequest < REQUESTS; ++nRequest) {
                Receiver::Get(1, "http://127.0.0.1:0/"); // without the double it fails at once
            }
        });
        ASSERT_TRUE(transport.WaitForSent(REQUESTS / 10));
    }
    sender.join();
    EXPECT_EQ(receiver.Wait(REQUESTS).size(), REQUESTS);
}

} // namespace
