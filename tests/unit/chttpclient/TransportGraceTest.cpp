#include "platform/chttpclient/Transport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

using namespace chttpclient;
using namespace std::chrono_literals;

namespace
{

/// The tests run with each of two operations: stopping, and stopping for good.
class TransportGrace : public ::testing::TestWithParam<void (Transport::*)()>
{
};

TEST_P(TransportGrace, ForAReceiverThatBlocksIsFiveSeconds)
{
    auto& transport = *new Transport; // never destroyed: the receiver's thread is left to end by itself
    static Transport* const pReachable = &transport;
    std::promise<void> begun;
    std::promise<void> release;
    transport.SetReceiver([&](const std::string&, int, void*, int) {
        begun.set_value();
        release.get_future().wait();
    });
    transport.Send(HttpExchange()); // refused, since the transport was never started; that is an answer too
    begun.get_future().wait();
    const auto tpBegin = std::chrono::steady_clock::now();
    (pReachable->*GetParam())();
    const auto passed = std::chrono::steady_clock::now() - tpBegin;
    EXPECT_GE(passed, 5s);
    EXPECT_LT(passed, 9s); // a busy machine is late
    release.set_value();
    pReachable->Stop(); // the receiver has returned then
}

INSTANTIATE_TEST_SUITE_P(Of, TransportGrace, ::testing::Values(&Transport::Stop, &Transport::End),
                         [](const auto& call) { return call.index == 0 ? "Stop" : "End"; });

} // namespace
