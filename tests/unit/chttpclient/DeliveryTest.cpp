// The delivering thread, stopped while its receiver blocks, and after its end.

#include "platform/chttpclient/Delivery.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

using chttpclient::CDelivery;
using chttpclient::ExchangeList;
using namespace std::chrono_literals;

namespace
{

constexpr auto PATIENCE = 60s;

void PostOne(CDelivery& delivery)
{
    ExchangeList exchange(1);
    delivery.Owe();
    delivery.Post(exchange);
}

} // namespace

TEST(Delivery, WhoseReceiverBlocksPastTheDeadlineOfAStopGoesOnWithoutIt)
{
    static auto& delivery = *new CDelivery; // never destroyed: the thread may be in its last steps
    std::promise<void> begun;
    std::promise<void> open;
    std::promise<void> done;
    delivery.SetReceiver([&](const std::string&, int, void*, int) {
        begun.set_value();
        open.get_future().wait();
        done.set_value();
    });
    PostOne(delivery);
    begun.get_future().wait();
    for (int nStop = 0; nStop < 2; ++nStop) {
        delivery.Stop(CDelivery::Clock::now());
    }
    auto ended = done.get_future();
    EXPECT_EQ(ended.wait_for(0s), std::future_status::timeout); // the stop has not waited
    open.set_value();
    ASSERT_EQ(ended.wait_for(PATIENCE), std::future_status::ready);
    delivery.Stop(CDelivery::Clock::now() + PATIENCE); // no thread is left to join
    EXPECT_FALSE(delivery.OnDeliveringThread());
}

TEST(Delivery, StartsNoThreadAfterItsEnd)
{
    CDelivery delivery;
    std::thread::id idReceiver;
    delivery.SetReceiver(
        [&](const std::string&, int, void*, int) { idReceiver = std::this_thread::get_id(); });
    delivery.Start();
    delivery.End(CDelivery::Clock::now() + PATIENCE);
    delivery.Start();
    PostOne(delivery);
    EXPECT_EQ(idReceiver, std::this_thread::get_id());
}
