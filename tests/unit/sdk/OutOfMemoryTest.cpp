// When memory runs out in a decoder, its request still gets its one answer, a failure. Each allocation is
// made to fail in turn.

#include "CallWithFailing.h"
#include "LongOperations.h"
#include "PayloadText.h"

#include "platform/metrics/Recorder.h"

#include <ktshttpagent/RequestType.h>

#include <array>
#include <limits>

namespace
{

/// The record that came with an answer, with all of its fields.
std::string DescribePayload(int nType, const SResponseHeader& header)
{
    namespace RequestType = VelCSDK::RequestType;
    if (header.pData == nullptr) {
        return "none";
    }
    switch (nType) {
    case RequestType::GetUserInfo:
        return Describe(Payload<USER_INFO>(header));
    case RequestType::GetProjects:
        return Describe(Payload<SResponseGetProject>(header));
    case RequestType::GetSupportVer:
        return Describe(Payload<SSupportVer>(header));
    case RequestType::GetBattStatus:
        return Describe(Payload<SResponseGetBatteryStatus>(header));
    case RequestType::GetAutoExport:
        return Describe(Payload<SResponseGetAutoExport>(header));
    case RequestType::GetFtpFilePath:
        return Describe(Payload<SResponseGetFtpFilePath>(header));
    case RequestType::GetChannelCheckData:
        return Describe(Payload<SResponseGetChannelCheckData>(header));
    case RequestType::GetWhetherInCommon:
        return Describe(Payload<SResponseGetWhetherInCommon>(header));
    default:
        throw std::logic_error("a record of type " + std::to_string(nType));
    }
}

struct Answers {
    int nCalls = 0;
    int nResult = 0;
    std::string strPayload;
};

class OutOfMemory : public SdkTest, public testing::WithParamInterface<Operation>
{
protected:
    /// Answers while the n-th allocation fails, and all later ones when `bFailsOn`.
    /// @return false when there were fewer allocations
    bool AnswerWithFailing(int nAllocation, bool bFailsOn, int nHttpError = 0)
    {
        m_answers = {};
        Answers* const pAnswers = &m_answers;
        // Too large for the internal buffer of a std::function.
        const std::array<void*, 8> arLarge{pAnswers};
        m_client.SetResponseCallBack([arLarge](int nType, const void*, const void* pHeader, int nResult) {
            EndFailing(); // the receiver's own allocations are not tested
            auto* const pReceived = static_cast<Answers*>(arLarge[0]);
            ++pReceived->nCalls;
            pReceived->nResult = nResult;
            pReceived->strPayload = DescribePayload(nType, *static_cast<const SResponseHeader*>(pHeader));
        });
        GetParam().fnSend(m_client);
        const RecordedRequest request = m_transport.vecRequests.back();
        CallWithFailing(nAllocation, bFailsOn, "the transport", [&] {
            m_transport.fnResponse(m_strReply, request.nType, request.pUserData, nHttpError);
        });
        return HasFailed();
    }

    /// The answer when memory is plentiful.
    Answers GoodAnswer()
    {
        EXPECT_FALSE(AnswerWithFailing(std::numeric_limits<int>::max(), false));
        EXPECT_EQ(m_answers.nCalls, 1);
        EXPECT_EQ(m_answers.nResult, 0);
        return m_answers;
    }

    void TearDown() override
    {
        m_transport.vecRequests.clear(); // each is answered
        SdkTest::TearDown();
    }

    const std::string m_strReply = RichReply();
    Answers m_answers;
};

TEST_P(OutOfMemory, IsAFailedReplyWithItsOneAnswer)
{
#if defined(_WIN32)
    if (GetParam().nType == VelCSDK::RequestType::GetUserInfo) {
        GTEST_SKIP() << "all its memory comes from jsoncpp's DLL, which has an operator new of its own";
    }
#endif
    const Answers good = GoodAnswer();
    int nFailures = 0;
    for (const bool bFailsOn : {false, true}) {
        for (int nAllocation = 1; AnswerWithFailing(nAllocation, bFailsOn); ++nAllocation) {
            ++nFailures;
            EXPECT_EQ(m_answers.nCalls, 1) << nAllocation;
            if (m_answers.nResult != -1) { // the allocation was not needed, so everything is there
                EXPECT_EQ(m_answers.nResult, 0) << nAllocation;
                EXPECT_EQ(m_answers.strPayload, good.strPayload) << nAllocation;
            } else if (good.strPayload != "none") {
                EXPECT_NE(m_answers.strPayload, good.strPayload) << nAllocation;
            }
            EXPECT_EQ(GoodAnswer().strPayload, good.strPayload) << "after " << nAllocation;
        }
        EXPECT_EQ(m_answers.nResult, 0);
    }
    RecordProperty("failures", nFailures);
    EXPECT_GT(nFailures, 1);
}

TEST_P(OutOfMemory, DoesNotKeepAFailedExchangeFromItsAnswer)
{
    for (const int nHttpError : {-27, std::numeric_limits<int>::min()}) {
        for (const bool bFailsOn : {false, true}) {
            for (int nAllocation = 1; AnswerWithFailing(nAllocation, bFailsOn, nHttpError); ++nAllocation) {
                EXPECT_EQ(m_answers.nCalls, 1) << nAllocation;
                EXPECT_NE(m_answers.nResult, 0) << nAllocation;
            }
            EXPECT_EQ(m_answers.nCalls, 1);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, OutOfMemory, testing::ValuesIn(LongOperations()),
                         testing::PrintToStringParamName());

#if !defined(_WIN32) // there the library's own operator new is not the test's
// Rather no words about the last failure than those about another one.
TEST(FiguresOutOfMemory, DropTheWordsOfTheFailureBefore)
{
    const metrics::Kind query{VelCSDK::RequestType::GetSupportVer, false};
    const std::string strLong(100, 'x');
    metrics::NoteFailure(query, EKtsFailure::TimedOut, std::chrono::seconds(1), "late");
    FailAllocation(1, true);
    metrics::NoteFailure(query, EKtsFailure::Other, std::chrono::seconds(1), strLong);
    EndFailing();
    EXPECT_TRUE(HasFailed());
    EXPECT_EQ(KtsMetrics().strLastFailure, "");
}
#endif

} // namespace
