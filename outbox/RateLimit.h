#pragma once

#include "Backoff.h"

#include <algorithm>

namespace outbox
{

/// Spaces what is sent from the backlog, so that no second has more of it than allowed. A few may follow each
/// other at once, because the thread that sends them does not wake up to the millisecond.
class RateLimit
{
public:
    /// @param nPerSecond  more than `AT_ONCE`
    explicit RateLimit(unsigned nPerSecond)
        : m_interval(std::chrono::duration_cast<TimePoint::duration>(std::chrono::seconds(1)) /
                     (nPerSecond - AT_ONCE))
    {
    }

    /// When the next one may go.
    TimePoint Next() const { return m_tpNext; }

    /// Counts one that goes.
    void Take(TimePoint tpNow)
    {
        m_tpNext = std::max(m_tpNext, tpNow - m_interval * (AT_ONCE - 1)) + m_interval;
    }

    static constexpr unsigned AT_ONCE = 3;

private:
    const TimePoint::duration m_interval;
    TimePoint m_tpNext{};
};

} // namespace outbox
