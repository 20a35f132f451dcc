// Where memory runs out in a decoder, its request still gets its one answer, a failure. Each allocation is
// made to fail in turn.

#include "RequestCatalogue.h"
#include "SdkFixture.h"

#include <cstdlib>
#include <new>

namespace
{

thread_local int t_nUntilFailure = 0; ///< allocations of this thread until one fails; 0 for never
thread_local bool t_bFailsOn = false; ///< whether all after it fail too
thread_local bool t_bFailed = false;

bool FailsNow() noexcept
{
    if (t_nUntilFailure == 0 || --t_nUntilFailure != 0) {
        return false;
    }
    t_bFailed = true;
    t_nUntilFailure = t_bFailsOn ? 1 : 0;
    return true;
}

} // namespace

void* operator new(std::size_t nSize)
{
    if (void* const pMemory = FailsNow() ? nullptr : std::malloc(nSize)) {
        return pMemory;
    }
    throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t /*nSize*/) noexcept
{
    std::free(pMemory);
}

namespace
{

const char* const RICH =
    R"({"success":true,"code":0,"id":7,"com":"a text that needs memory of its own","title":"a text that needs memory of its own",)"
    R"("description":"a text that needs memory of its own","message":"a text that needs memory of its own",)"
    R"("result":{"allowBoot":"a text that needs memory of its own","strPlace":"a text that needs memory of its own",)"
    R"("ftpFilePath":"a text that needs memory of its own","permit":true},"common":true,)"
    R"("实验项目":[{"xh":"a text that needs memory of its own","委托单号":{"id":1,"name":"a text that needs memory of its own"}},{}],)"
    R"("全部电池状态":[{"id":1,"name":"a text that needs memory of its own","电池状态":[{"id":1},{"id":2}]},{}]})";

struct SAnswers {
    int nCalls = 0;
    int nResult = 0;
};

class OutOfMemory : public SdkTest, public testing::WithParamInterface<Operation>
{
protected:
    /// Answers with the n-th allocation failing, and all after it when `bFailsOn`.
    /// @return false when there were not so many
    bool AnswerWithFailing(int nAllocation, bool bFailsOn, int nHttpError = 0)
    {
        m_answers = {};
        SAnswers* const pAnswers = &m_answers;
        m_client.SetResponseCallBack([pAnswers](int, const void*, const void*, int nResult) {
            t_nUntilFailure = 0; // the receiver's own allocations are its own concern
            ++pAnswers->nCalls;
            pAnswers->nResult = nResult;
        });
        GetParam().fnSend(m_client);
        const std::string strBody = RICH;
        const RecordedRequest request = m_transport.vecRequests.back();
        t_bFailed = false;
        t_bFailsOn = bFailsOn;
        t_nUntilFailure = nAllocation;
        m_transport.fnResponse(strBody, request.nType, request.pUserData, nHttpError);
        t_nUntilFailure = 0;
        return t_bFailed;
    }

    void TearDown() override
    {
        m_transport.vecRequests.clear(); // each is answered
        SdkTest::TearDown();
    }

    SAnswers m_answers;
};

TEST_P(OutOfMemory, IsAFailedReplyWithItsOneAnswer)
{
#if defined(_WIN32)
    if (GetParam().nType == VelCSDK::RequestType::GetUserInfo) {
        GTEST_SKIP() << "all its memory comes from jsoncpp's DLL, which has an operator new of its own";
    }
#endif
    int nFailures = 0;
    for (const bool bFailsOn : {false, true}) {
        for (int nAllocation = 1; AnswerWithFailing(nAllocation, bFailsOn); ++nAllocation) {
            ++nFailures;
            EXPECT_EQ(m_answers.nCalls, 1) << nAllocation;
            EXPECT_EQ(m_answers.nResult, -1) << nAllocation;
        }
        EXPECT_EQ(m_answers.nCalls, 1);
        EXPECT_EQ(m_answers.nResult, 0);
    }
    EXPECT_GT(nFailures, 0);
}

TEST_P(OutOfMemory, DoesNotKeepAFailedExchangeFromItsAnswer)
{
    for (const bool bFailsOn : {false, true}) {
        for (int nAllocation = 1; AnswerWithFailing(nAllocation, bFailsOn, -27); ++nAllocation) {
            EXPECT_EQ(m_answers.nCalls, 1) << nAllocation;
            EXPECT_NE(m_answers.nResult, 0) << nAllocation;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, OutOfMemory, testing::ValuesIn(AnsweredOperations()),
                         testing::PrintToStringParamName());

} // namespace
