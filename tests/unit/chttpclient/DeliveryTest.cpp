// The delivering thread, stopped while its receiver blocks, and after its end.

#include "platform/chttpclient/Delivery.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

using chttpclient::Delivery;
using chttpclient::ExchangeList;
using namespace std::chrono_literals;

namespace
{

constexpr auto PATIENCE = 60s;

void PostOne(Delivery& delivery)
{
    ExchangeList exchange(1);
    delivery.AddOutstanding();
    delivery.Post(exchange);
}

} // namespace

TEST(Delivery, WhoseReceiverBlocksPastTheDeadlineOfAStopGoesOnWithoutIt)
{
    static auto& delivery = *new Delivery; // never destroyed: the thread may be in its last steps
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
        delivery.Stop(Delivery::Clock::now());
    }
    auto ended = done.get_future();
    EXPECT_EQ(ended.wait_for(0s), std::future_status::timeout); // the stop has not waited
    open.set_value();
    ASSERT_EQ(ended.wait_for(PATIENCE), std::future_status::ready);
    delivery.Stop(Delivery::Clock::now() + PATIENCE); // no thread is left to join
    EXPECT_FALSE(delivery.OnDeliveringThread());
}

// Its thread may not have begun to look by then.
TEST(Delivery, ThatIsStoppedAtOnceHasDeliveredAll)
{
    constexpr int ROUNDS = 100;
    Delivery delivery;
    std::atomic<int> nDelivered = 0;
    delivery.SetReceiver([&](const std::string&, int, void*, int) { ++nDelivered; });
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        PostOne(delivery);
        delivery.Stop(Delivery::Clock::now() + PATIENCE);
        EXPECT_EQ(nDelivered, nRound);
    }
}

TEST(Delivery, EndedByAReceiverDeliversWhatWaitsBehindItBeforeTheEndReturns)
{
    static auto& delivery = *new Delivery; // never destroyed: the thread may be in its last steps
    constexpr int REPLIES = 3;
    std::promise<void> posted;
    int nDelivered = 0;
    int nWhenEnded = 0;
    delivery.SetReceiver([&](const std::string&, int, void*, int) {
        if (++nDelivered == 1) {
            posted.get_future().wait();
            delivery.End(Delivery::Clock::now() + PATIENCE);
            nWhenEnded = nDelivered;
        }
    });
    for (int nReply = 0; nReply < REPLIES; ++nReply) {
        PostOne(delivery);
    }
    posted.set_value();
    delivery.Stop(Delivery::Clock::now() + PATIENCE); // waits for the thread
    EXPECT_EQ(nWhenEnded, REPLIES);
}

TEST(Delivery, StartsNoThreadAfterItsEnd)
{
    Delivery delivery;
    std::thread::id idReceiver;
    delivery.SetReceiver(
        [&](const std::string&, int, void*, int) { idReceiver = std::this_thread::get_id(); });
    delivery.Start();
    delivery.End(Delivery::Clock::now() + PATIENCE);
    delivery.Start();
    PostOne(delivery);
    EXPECT_EQ(idReceiver, std::this_thread::get_id());
}

// The flag orders nothing: what the other thread knows of the end it has from the delivery's own lock.
TEST(Delivery, WhoseEndAnotherThreadOnlyJustSawDeliversOnThatThread)
{
    Delivery delivery;
    std::thread::id idReceiver;
    delivery.SetReceiver(
        [&](const std::string&, int, void*, int) { idReceiver = std::this_thread::get_id(); });
    delivery.Start();
    std::atomic<bool> bEnded = false;
    std::thread other([&] {
        while (!bEnded.load(std::memory_order_relaxed)) {
            std::this_thread::yield();
        }
        PostOne(delivery);
    });
    const std::thread::id idOther = other.get_id();
    delivery.End(Delivery::Clock::now() + PATIENCE);
    bEnded.store(true, std::memory_order_relaxed);
    other.join();
    EXPECT_EQ(idReceiver, idOther);
}
