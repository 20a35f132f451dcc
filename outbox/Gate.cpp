#include "Gate.h"

#include <algorithm>
#include <array>
#include <limits>

namespace outbox
{
namespace
{

constexpr std::array<std::size_t, 5> LIMITS{1, 1, 2, 4, std::numeric_limits<std::size_t>::max()};

} // namespace

Gate::Gate(Milliseconds longest) : m_longest(longest), m_nStep(LIMITS.size() - 1) {}

std::size_t Gate::Room(TimePoint tpNow) const
{
    const std::size_t nLimit = tpNow < m_tpDue ? 0 : LIMITS[m_nStep];
    return nLimit - std::min(nLimit, m_nInFlight);
}

std::uint64_t Gate::Begin()
{
    ++m_nInFlight;
    return m_nPeriod;
}

void Gate::Succeed(std::uint64_t nBegin)
{
    --m_nInFlight;
    if (nBegin == m_nPeriod) {
        m_nFailures = 0;
        m_nStep = std::min(m_nStep + 1, LIMITS.size() - 1);
    }
}

void Gate::Fail(std::uint64_t nBegin, TimePoint tpNow, Milliseconds least, Random& random)
{
    --m_nInFlight;
    if (nBegin == m_nPeriod) {
        ++m_nFailures;
        ++m_nPeriod;
        m_nStep = 0;
        m_tpDue = tpNow + Backoff(m_nFailures, m_longest, random);
    }
    // The wait that the server asks for comes before the drawn one: otherwise all its clients return at once.
    if (least > Milliseconds(0)) {
        m_tpDue = std::max(m_tpDue, tpNow + std::min(least, LONGEST_WAIT) +
                                        Backoff(std::max(1U, m_nFailures), m_longest, random));
    }
}

} // namespace outbox
