#include "platform/chttpclient/TransferLoop.h"

#include <gtest/gtest.h>

using namespace chttpclient;

namespace
{

TEST(TransferLoop, TakesRequestsUntilItDrainsAndThenLeavesThemToTheirSender)
{
    CDelivery delivery;
    CTransferLoop loop(STransportSettings(), delivery);
    for (int nRequest = 0; nRequest < 3; ++nRequest) { // the first one wakes the loop, the others don't
        ExchangeList exchange(1);
        EXPECT_TRUE(loop.Submit(exchange)) << nRequest;
        EXPECT_TRUE(exchange.empty()) << nRequest;
    }
    loop.Drain();
    ExchangeList exchange(1);
    EXPECT_FALSE(loop.Submit(exchange));
    EXPECT_EQ(exchange.size(), 1U);
}

} // namespace
