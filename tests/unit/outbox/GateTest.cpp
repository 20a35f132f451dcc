#include "outbox/Gate.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using outbox::Gate;
using outbox::Milliseconds;
using outbox::TimePoint;
using namespace std::chrono_literals;

constexpr TimePoint START{1h};

class Half final : public outbox::Random
{
public:
    double Fraction() override { return 0.5; }
};

class GateTest : public ::testing::Test
{
protected:
    /// One request that fails.
    void Fail(TimePoint tpNow, Milliseconds least = 0ms)
    {
        m_gate.Fail(m_gate.Begin(), tpNow, least, m_random);
    }

    Half m_random;
    Gate m_gate{outbox::LONGEST_BACKOFF};
};

TEST_F(GateTest, HasNoLimitWithoutFailures)
{
    for (int nRequest = 0; nRequest < 10'000; ++nRequest) {
        m_gate.Begin();
    }
    EXPECT_GT(m_gate.Room(START), 1'000'000U);
}

TEST_F(GateTest, LetsNothingPassWhileItWaits)
{
    Fail(START);
    EXPECT_EQ(m_gate.Due(), START + 250ms);
    EXPECT_EQ(m_gate.Room(START + 249ms), 0U);
    EXPECT_EQ(m_gate.Room(START + 250ms), 1U);
}

TEST_F(GateTest, OpensStepByStep)
{
    Fail(START);
    std::vector<std::size_t> vecRooms;
    for (int nStep = 0; nStep < 5; ++nStep) {
        vecRooms.push_back(std::min<std::size_t>(m_gate.Room(START + 1s), 1'000));
        m_gate.Succeed(m_gate.Begin());
    }
    EXPECT_EQ(vecRooms, (std::vector<std::size_t>{1, 1, 2, 4, 1'000}));
    EXPECT_EQ(m_gate.Failures(), 0U);
}

TEST_F(GateTest, CountsWhatIsInFlight)
{
    Fail(START);
    m_gate.Succeed(m_gate.Begin());
    m_gate.Succeed(m_gate.Begin());
    const std::uint64_t nFirst = m_gate.Begin();
    EXPECT_EQ(m_gate.Room(START + 1s), 1U);
    m_gate.Begin();
    EXPECT_EQ(m_gate.Room(START + 1s), 0U);
    m_gate.Leave();
    EXPECT_EQ(m_gate.Room(START + 1s), 1U);
    m_gate.Succeed(nFirst);
    EXPECT_EQ(m_gate.Room(START + 1s), 4U);
}

TEST_F(GateTest, WaitsForLongerWithEachFailure)
{
    Fail(START);
    Fail(START + 1s);
    EXPECT_EQ(m_gate.Due(), START + 1s + 500ms);
    EXPECT_EQ(m_gate.Failures(), 2U);
}

TEST_F(GateTest, CountsRequestsThatFailTogetherAsOneFailure)
{
    std::vector<std::uint64_t> vecBegun;
    for (int nRequest = 0; nRequest < 100; ++nRequest) {
        vecBegun.push_back(m_gate.Begin());
    }
    for (const std::uint64_t nBegin : vecBegun) {
        m_gate.Fail(nBegin, START, 0ms, m_random);
    }
    EXPECT_EQ(m_gate.Failures(), 1U);
    EXPECT_EQ(m_gate.Due(), START + 250ms);
    EXPECT_EQ(m_gate.Room(START + 1s), 1U);
}

TEST_F(GateTest, IsNotOpenedByWhatBeganBeforeTheFailure)
{
    const std::uint64_t nBefore = m_gate.Begin();
    Fail(START);
    m_gate.Succeed(nBefore);
    EXPECT_EQ(m_gate.Failures(), 1U);
    EXPECT_EQ(m_gate.Room(START), 0U);
}

TEST_F(GateTest, WaitsForAsLongAsTheServerAsksAndABitMore)
{
    Fail(START, 120s);
    EXPECT_EQ(m_gate.Due(), START + 120s + 250ms);
    const std::uint64_t nBegin = m_gate.Begin();
    Fail(START + 200s, 100h);
    EXPECT_EQ(m_gate.Due(), START + 200s + 1h + 500ms);
    m_gate.Fail(nBegin, START + 201s, 1s, m_random); // an earlier request does not shorten the wait
    EXPECT_EQ(m_gate.Due(), START + 200s + 1h + 500ms);
}

} // namespace
