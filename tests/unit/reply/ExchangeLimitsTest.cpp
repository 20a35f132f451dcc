#include "platform/reply/ExchangeLimits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ExchangeLimits, OfTheEnvironmentAreThoseOfTheBlockingInterface)
{
    ::setenv(EXCHANGE_TIMEOUT_VARIABLE, "1", 1);
    ::setenv(REPLY_BYTES_VARIABLE, "9223372036854775807", 1);
    EXPECT_EQ(ExchangeLimitsInForce().timeout.count(), 1);
    EXPECT_EQ(ExchangeLimitsInForce().nMaxReplyBytes, 9'223'372'036'854'775'807U);
}

TEST(ExchangeLimits, OfTheBlockingInterfaceAreReadOnce)
{
    EXPECT_EQ(ExchangeLimitsInForce().timeout.count(), 60'000);
    EXPECT_EQ(ExchangeLimitsInForce().nMaxReplyBytes, 67'108'864U);
    ::setenv(EXCHANGE_TIMEOUT_VARIABLE, "7", 1);
    ::setenv(REPLY_BYTES_VARIABLE, "7", 1);
    EXPECT_EQ(ExchangeLimitsInForce().timeout.count(), 60'000);
    EXPECT_EQ(ExchangeLimitsInForce().nMaxReplyBytes, 67'108'864U);
    std::vector<std::string> vecComplaints;
    EXPECT_EQ(ReadExchangeLimits(vecComplaints).timeout.count(), 7);
    EXPECT_THAT(vecComplaints, IsEmpty());
}

TEST(ExchangeLimits, ThatAreNoNumbersInTheirRangeAreComplainedOf)
{
    ::setenv(EXCHANGE_TIMEOUT_VARIABLE, "2147483648", 1);
    ::setenv(REPLY_BYTES_VARIABLE, "64M", 1);
    std::vector<std::string> vecComplaints;
    const ExchangeLimits limits = ReadExchangeLimits(vecComplaints);
    EXPECT_EQ(limits.timeout.count(), 60'000);
    EXPECT_EQ(limits.nMaxReplyBytes, 67'108'864U);
    EXPECT_THAT(vecComplaints,
                ElementsAre("CHTTPCLIENT_TIMEOUT_MS is \"2147483648\", no number from 1 to 2147483647; 60000 "
                            "stays in force",
                            "CHTTPCLIENT_MAX_REPLY_BYTES is \"64M\", no number from 1 to "
                            "9223372036854775807; 67108864 stays in force"));
}

} // namespace
