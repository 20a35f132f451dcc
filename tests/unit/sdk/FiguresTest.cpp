// What the figures say about requests of the asynchronous interface, over a transport that tells nothing.

#include "SdkFixture.h"

#include <ktshttpagent/KtsMetrics.h>

#include <gmock/gmock.h>

#include <new>

namespace
{

/// A reply, and what it counts as.
struct CountedReply {
    const char* szName;
    std::string strBody;
    int nHttpError;
    bool bSucceeds;
    bool bRefused;
    EKtsFailure eFailure; ///< if it is neither

    friend void PrintTo(const CountedReply& row, std::ostream* pOut) { *pOut << row.szName; }
};

class FiguresOfAReply : public SdkTest, public ::testing::WithParamInterface<CountedReply>
{
};

TEST_P(FiguresOfAReply, CountItOnce)
{
    m_client.GetWhetherInCommon("X");
    EXPECT_EQ(KtsMetrics().nOutstanding, 1U);
    m_transport.Reply(GetParam().strBody, GetParam().nHttpError);

    const SKtsMetrics all = KtsMetrics();
    EXPECT_EQ(all.nOutstanding, 0U);
    ASSERT_EQ(all.vecRequests.size(), 1U);
    const SKtsRequestMetrics& request = all.vecRequests.front();
    EXPECT_EQ(request.nType, 3110);
    EXPECT_FALSE(request.bBlocking);
    EXPECT_EQ(request.nSent, 1U);
    EXPECT_EQ(request.nSucceeded, GetParam().bSucceeds ? 1U : 0U);
    EXPECT_EQ(request.nRefused, GetParam().bRefused ? 1U : 0U);
    if (GetParam().bSucceeds || GetParam().bRefused) {
        EXPECT_THAT(request.arFailed, ::testing::Each(0U));
    } else {
        EXPECT_EQ(request.arFailed.at(static_cast<std::size_t>(GetParam().eFailure)), 1U);
    }
    EXPECT_EQ(all.strLastFailure.empty(), GetParam().bSucceeds);
}

constexpr EKtsFailure NONE = EKtsFailure::Other;

INSTANTIATE_TEST_SUITE_P(
    Each, FiguresOfAReply,
    ::testing::Values(
        CountedReply{"Yes", R"({"success":true})", 0, true, false, NONE},
        CountedReply{"No", R"({"success":false,"message":"m"})", 0, false, true, NONE},
        CountedReply{"NoSuccess", "[]", 0, false, false, EKtsFailure::Unreadable},
        CountedReply{"NoBody", "", 0, false, false, EKtsFailure::Unreadable},
        CountedReply{"Html", "<html>", 0, false, false, EKtsFailure::Unreadable},
        CountedReply{"Gateway", "Bad Gateway", 0, false, false, EKtsFailure::HttpStatus},
        CountedReply{"Status", "{}", 500, false, false, EKtsFailure::HttpStatus},
        CountedReply{"StatusWithAYes", R"({"success":true})", 404, false, false, EKtsFailure::HttpStatus},
        CountedReply{"GatewayStatus", "Bad Gateway", 502, false, false, EKtsFailure::HttpStatus},
        CountedReply{"Refused", "", -7, false, false, EKtsFailure::NotConnected},
        CountedReply{"Late", "", -28, false, false, EKtsFailure::TimedOut}),
    ::testing::PrintToStringParamName());

class Figures : public SdkTest
{
};

TEST_F(Figures, CountEveryOperation)
{
    std::size_t nSent = 0;
    for (const Operation& operation : AnsweredOperations()) {
        operation.fnSend(m_client);
        m_transport.Reply("{\"success\":true,\"code\":0}");
        ++nSent;
    }
    const SKtsMetrics all = KtsMetrics();
    EXPECT_EQ(all.nOutstanding, 0U);
    std::uint64_t nCounted = 0;
    for (const SKtsRequestMetrics& request : all.vecRequests) {
        nCounted += request.nSent;
    }
    EXPECT_EQ(nCounted, nSent);
}

TEST_F(Figures, CountARequestThatTheTransportDoesNotAccept)
{
    m_transport.fnOnSend = [](const RecordedRequest&) { throw std::bad_alloc(); };
    EXPECT_THROW(m_client.GetWhetherInCommon("X"), std::bad_alloc);
    m_transport.fnOnSend = nullptr;
    const SKtsMetrics all = KtsMetrics();
    ASSERT_EQ(all.vecRequests.size(), 1U);
    EXPECT_EQ(all.nOutstanding, 0U);
    EXPECT_EQ(all.vecRequests.front().arFailed.at(static_cast<std::size_t>(EKtsFailure::NotSent)), 1U);
}

} // namespace
