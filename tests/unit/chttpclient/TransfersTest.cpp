#include "platform/chttpclient/Transfers.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace chttpclient;
using namespace std::chrono_literals;

namespace
{

ExchangeList RequestFor(const char* szUrl)
{
    ExchangeList request(1);
    request.front().strUrl = szUrl;
    return request;
}

TEST(Transfers, EndARequestThatCanNotBeSentInItsFirstRound)
{
    Transfers transfers{TransportSettings()};
    ExchangeList incoming = RequestFor("no URL");
    const ExchangeList finished = transfers.Round(incoming, Transfers::Clock::time_point::max());
    ASSERT_EQ(finished.size(), 1U);
    EXPECT_EQ(finished.front().nHttpError, -3) << "libcurl was not asked";
    EXPECT_FALSE(transfers.AreInFlight());
}

TEST(Transfers, BeginNothingWhenAllMustBeCancelled)
{
    Transfers transfers{TransportSettings()};
    ExchangeList incoming = RequestFor("no URL");
    const ExchangeList finished = transfers.Round(incoming, Transfers::Clock::now());
    ASSERT_EQ(finished.size(), 1U);
    EXPECT_EQ(finished.front().nHttpError, -42);
    EXPECT_FALSE(transfers.AreInFlight());
}

TEST(Transfers, WithNothingInFlightDoNotWait)
{
    Transfers transfers{TransportSettings()};
    ExchangeList none;
    EXPECT_TRUE(transfers.Round(none, Transfers::Clock::time_point::max()).empty());
}

} // namespace
