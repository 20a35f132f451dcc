#include "platform/chttpclient/TransferLoop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

using namespace chttpclient;

namespace
{

TEST(TransferLoop, TakesRequestsUntilItDrainsAndThenLeavesThemToTheirSender)
{
    Delivery delivery;
    TransferLoop loop(TransportSettings(), delivery);
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

TEST(TransferLoop, ThatDrainsBeforeItHasTakenARequestStillSendsIt)
{
    int nError = 0;
    Delivery delivery;
    delivery.SetReceiver([&nError](const std::string&, int, void*, int nHttpError) { nError = nHttpError; });
    TransferLoop loop(TransportSettings(), delivery);
    ExchangeList exchange(1);
    exchange.front().strUrl = "no URL";
    delivery.AddOutstanding();
    ASSERT_TRUE(loop.Submit(exchange));
    loop.Drain();
    loop.Run();
    delivery.End(Delivery::Clock::now() + std::chrono::seconds(60));
    EXPECT_EQ(nError, -3) << "libcurl was not asked";
}

} // namespace
