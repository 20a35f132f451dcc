// The threads of the transport, stopped while a receiver blocks, and after their end.

#include "platform/chttpclient/Workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

using chttpclient::ExchangeList;
using chttpclient::TransportSettings;
using chttpclient::Workers;
using namespace std::chrono_literals;

namespace
{

constexpr auto PATIENCE = 60s;

/// Sends a request, which is refused, since these workers were not started; that is an answer too.
void SendOne(Workers& workers)
{
    workers.Send(ExchangeList(1));
}

/// Starts workers that note the thread of their last callback, and drains them.
void StartAndDrain(Workers& workers, std::thread::id& idReceiver)
{
    workers.SetReceiver(
        [&](const std::string&, int, void*, int) { idReceiver = std::this_thread::get_id(); });
    workers.Start(TransportSettings());
    workers.Drain();
}

} // namespace

TEST(Workers, WhoseReceiverBlocksPastTheDeadlineOfAStopAreLeftToEndByThemselves)
{
    static auto& workers = *new Workers; // never destroyed: the thread may be in its last steps
    std::promise<void> begun;
    std::promise<void> open;
    std::promise<void> done;
    workers.SetReceiver([&](const std::string&, int, void*, int) {
        begun.set_value();
        open.get_future().wait();
        done.set_value();
    });
    SendOne(workers);
    begun.get_future().wait();
    for (int nStop = 0; nStop < 2; ++nStop) {
        workers.Stop(Workers::Clock::now());
    }
    auto ended = done.get_future();
    EXPECT_EQ(ended.wait_for(0s), std::future_status::timeout); // the stop has not waited
    open.set_value();
    ASSERT_EQ(ended.wait_for(PATIENCE), std::future_status::ready);
    workers.Stop(Workers::Clock::now() + PATIENCE); // no thread is left to join
    EXPECT_FALSE(workers.OnDeliveringThread());
}

// Their thread may not have begun to look by then.
TEST(Workers, ThatAreStoppedAtOnceHaveDeliveredAll)
{
    constexpr int ROUNDS = 100;
    Workers workers;
    std::atomic<int> nDelivered = 0;
    workers.SetReceiver([&](const std::string&, int, void*, int) { ++nDelivered; });
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        SendOne(workers);
        workers.Stop(Workers::Clock::now() + PATIENCE);
        EXPECT_EQ(nDelivered, nRound);
    }
}

TEST(Workers, EndedByAReceiverDeliverWhatWaitsBeforeTheEndReturns)
{
    static auto& workers = *new Workers; // never destroyed: the thread may be in its last steps
    constexpr int REPLIES = 3;
    std::promise<void> posted;
    int nDelivered = 0;
    int nWhenEnded = 0;
    workers.SetReceiver([&](const std::string&, int, void*, int) {
        if (++nDelivered == 1) {
            posted.get_future().wait();
            workers.End(Workers::Clock::now() + PATIENCE);
            nWhenEnded = nDelivered;
        }
    });
    for (int nReply = 0; nReply < REPLIES; ++nReply) {
        SendOne(workers);
    }
    posted.set_value();
    workers.Stop(Workers::Clock::now() + PATIENCE); // waits for the thread
    EXPECT_EQ(nWhenEnded, REPLIES);
}

TEST(Workers, StartNoThreadAfterTheirEndUntilTheyAreStartedAgain)
{
    Workers workers;
    std::thread::id idReceiver;
    StartAndDrain(workers, idReceiver);
    workers.End(Workers::Clock::now() + PATIENCE);
    SendOne(workers);
    EXPECT_EQ(idReceiver, std::this_thread::get_id());
    workers.Start(TransportSettings());
    workers.Drain();
    SendOne(workers);
    workers.Stop(Workers::Clock::now() + PATIENCE);
    EXPECT_NE(idReceiver, std::this_thread::get_id());
}

// The flag orders nothing: what the other thread knows of the end it has from the workers' own lock.
TEST(Workers, WhoseEndAnotherThreadOnlyJustSawDeliverOnThatThread)
{
    Workers workers;
    std::thread::id idReceiver;
    StartAndDrain(workers, idReceiver);
    std::atomic<bool> bEnded = false;
    std::thread other([&] {
        while (!bEnded.load(std::memory_order_relaxed)) {
            std::this_thread::yield();
        }
        SendOne(workers);
    });
    const std::thread::id idOther = other.get_id();
    workers.End(Workers::Clock::now() + PATIENCE);
    bEnded.store(true, std::memory_order_relaxed);
    other.join();
    EXPECT_EQ(idReceiver, idOther);
}
