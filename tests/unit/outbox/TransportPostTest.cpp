// A transport that has none of the functions which an outbox can do without.

#include "outbox/TransportPost.h"

#include "RecordingTransport.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using outbox::Report;
using outbox::TransportPost;

const Report REPORT{3102, "http://lab/x", "Content-Type: text/plain", "body", "", "run-1", 0};

TEST(TransportPost, SendsWithoutAKeyIfTheTransportTakesNone)
{
    TransportPost post([](const std::string&, int, void*, int) {});
    int nToken = 0;
    EXPECT_TRUE(post.Send(REPORT, &nToken));
    Report bare = REPORT;
    bare.strHeader.clear();
    EXPECT_TRUE(post.Send(bare, &nToken));
    const auto& vecRequests = RecordingTransport::Instance().vecRequests;
    ASSERT_EQ(vecRequests.size(), 2U);
    EXPECT_EQ(vecRequests[0].nType, 3102);
    EXPECT_EQ(vecRequests[0].strUrl, "http://lab/x");
    EXPECT_EQ(vecRequests[0].strBody, "body");
    EXPECT_EQ(vecRequests[0].pUserData, &nToken);
    EXPECT_TRUE(vecRequests[0].bPost);
    EXPECT_TRUE(vecRequests[0].bHeader);
    EXPECT_EQ(vecRequests[0].strHeader, "Content-Type: text/plain");
    EXPECT_FALSE(vecRequests[1].bHeader);
}

TEST(TransportPost, CallsTheReceiverItselfIfTheTransportCant)
{
    std::string strCalled;
    TransportPost post([&](const std::string& strBody, int nType, void* pUserData, int nError) {
        strCalled = strBody + ' ' + std::to_string(nType) + ' ' + std::to_string(nError);
        EXPECT_EQ(pUserData, &strCalled);
    });
    post.HandBack(3101, "{}", &strCalled, -2);
    EXPECT_EQ(strCalled, "{} 3101 -2");
}

TEST(TransportPost, KnowsNothingOfTheReplyThen)
{
    const TransportPost post([](const std::string&, int, void*, int) {});
    EXPECT_FALSE(post.RetryAfter().has_value());
    EXPECT_TRUE(post.MayHaveBeenSeen());
}

} // namespace
