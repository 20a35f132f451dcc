#include "outbox/Backoff.h"
#include "outbox/RateLimit.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using outbox::Backoff;
using outbox::Milliseconds;
using outbox::RateLimit;
using outbox::TimePoint;
using namespace std::chrono_literals;

class Fixed final : public outbox::Random
{
public:
    explicit Fixed(double dFraction) : m_dFraction(dFraction) {}
    double Fraction() override { return m_dFraction; }

private:
    const double m_dFraction;
};

TEST(Backoff, DoublesItsBoundWithEachFailure)
{
    Fixed half(0.5);
    EXPECT_EQ(Backoff(1, outbox::LONGEST_BACKOFF, half), 250ms);
    EXPECT_EQ(Backoff(2, outbox::LONGEST_BACKOFF, half), 500ms);
    EXPECT_EQ(Backoff(5, outbox::LONGEST_BACKOFF, half), 4s);
}

TEST(Backoff, IsDrawnAfterTheBoundIsLimited)
{
    Fixed half(0.5);
    EXPECT_EQ(Backoff(11, outbox::LONGEST_BACKOFF, half), 150s);
    EXPECT_EQ(Backoff(4'000'000'000U, outbox::LONGEST_BACKOFF, half), 150s);
    EXPECT_EQ(Backoff(40, outbox::LONGEST_WAIT, half), 30min);
}

TEST(Backoff, MayBeNothingAndNeverReachesItsBound)
{
    Fixed least(0);
    Fixed most(0.999999);
    EXPECT_EQ(Backoff(7, outbox::LONGEST_BACKOFF, least), 0ms);
    EXPECT_LT(Backoff(7, outbox::LONGEST_BACKOFF, most), 32s);
    EXPECT_GT(Backoff(7, outbox::LONGEST_BACKOFF, most), 31s);
}

TEST(RateLimit, LetsNoMoreThanItsNumberPassInAnySecond)
{
    RateLimit rate(30);
    std::vector<TimePoint> vecPassed;
    TimePoint tpNow{1h};
    for (int nStep = 0; nStep < 5'000; ++nStep, tpNow += nStep % 700 == 0 ? 400ms : 1ms) {
        if (rate.Next() <= tpNow) {
            rate.Take(tpNow);
            vecPassed.push_back(tpNow);
        }
    }
    for (std::size_t nFirst = 0; nFirst + 30 < vecPassed.size(); ++nFirst) {
        EXPECT_GE(vecPassed[nFirst + 30] - vecPassed[nFirst], 1s) << nFirst;
    }
    EXPECT_GT(vecPassed.size(), 150U);
}

TEST(RateLimit, LetsAFewPassAtOnce)
{
    RateLimit rate(30);
    const TimePoint tpNow{1h};
    for (int nAtOnce = 0; nAtOnce < 3; ++nAtOnce) {
        EXPECT_LE(rate.Next(), tpNow);
        rate.Take(tpNow);
    }
    EXPECT_GT(rate.Next(), tpNow);
    EXPECT_LE(rate.Next(), tpNow + 38ms);
}

} // namespace
