#include "Deliveries.h"

#include <ktshttpagent/CUIAgentRsp.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <thread>

namespace
{

using std::chrono::steady_clock;

constexpr std::chrono::seconds LONG{30};
constexpr std::chrono::milliseconds SHORT{50};

/// The place of an instance. Only its address matters here, so none is made.
class Place
{
public:
    Place() { OpenDeliveries(Instance()); }
    ~Place() { Close(SHORT); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    const CUIAgentRsp& Instance() const { return reinterpret_cast<const CUIAgentRsp&>(m_storage); }

    /// @return how long it took
    steady_clock::duration Close(std::chrono::milliseconds longest) const
    {
        const auto tpBegin = steady_clock::now();
        CloseDeliveries(Instance(), longest);
        return steady_clock::now() - tpBegin;
    }

private:
    alignas(CUIAgentRsp) unsigned char m_storage[sizeof(CUIAgentRsp)] = {};
};

TEST(Deliveries, AreAllowedFromTheOpeningToTheClosing)
{
    const Place place;
    EXPECT_TRUE(Delivering(&place.Instance()).IsAllowed());
    place.Close(LONG);
    EXPECT_FALSE(Delivering(&place.Instance()).IsAllowed());
    OpenDeliveries(place.Instance());
    EXPECT_TRUE(Delivering(&place.Instance()).IsAllowed());
}

TEST(Deliveries, AreNotWaitedForIfThereIsNone)
{
    const Place place;
    EXPECT_LT(place.Close(LONG), LONG / 2);
}

TEST(Deliveries, OfTheOwnThreadAreNotWaitedFor)
{
    const Place place;
    const Delivering delivering(&place.Instance());
    EXPECT_LT(place.Close(LONG), LONG / 2);
}

TEST(Deliveries, OfAnotherInstanceAreNotWaitedFor)
{
    const Place place;
    const Place other;
    std::promise<void> begun;
    std::promise<void> over;
    std::thread thread([&] {
        const Delivering delivering(&other.Instance());
        begun.set_value();
        over.get_future().wait();
    });
    begun.get_future().wait();
    EXPECT_LT(place.Close(LONG), LONG / 2);
    EXPECT_GE(other.Close(SHORT), SHORT);
    over.set_value();
    thread.join();
}

TEST(Deliveries, MayEndInAnyOrder)
{
    const Place place;
    std::promise<void> begun;
    std::promise<void> over;
    std::thread thread([&] {
        std::optional<Delivering> first(std::in_place, &place.Instance());
        const Delivering second(&place.Instance());
        const Delivering third(&place.Instance());
        first.reset();
        begun.set_value();
        over.get_future().wait();
    });
    begun.get_future().wait();
    EXPECT_GE(place.Close(SHORT), SHORT);
    over.set_value();
    thread.join();
    EXPECT_LT(place.Close(LONG), LONG / 2);
}

} // namespace
