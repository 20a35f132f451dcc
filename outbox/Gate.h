#pragma once

#include "Backoff.h"

#include <cstddef>
#include <cstdint>

namespace outbox
{

/// Decides how many requests a server, or one place on it, gets at a time. Without failures there is no
/// limit. After a failure it gets none for a while, then one as a probe, and while it recovers 1, 2 and 4 at
/// a time.
///
/// Threads: none of its own; its owner guards it.
class Gate
{
public:
    explicit Gate(Milliseconds longest);

    /// How many more requests may begin now.
    std::size_t Room(TimePoint tpNow) const;

    /// When the wait ends; a time in the past if there is none.
    TimePoint Due() const { return m_tpDue; }
    unsigned Failures() const { return m_nFailures; }

    /// Counts a request that begins.
    /// @return what `Succeed` and `Fail` need, so that requests which began before a failure don't count as
    ///         further failures
    std::uint64_t Begin();

    // One of these ends each request that began.
    void Succeed(std::uint64_t nBegin);
    /// @param least  the shortest wait, as the server asked for it
    void Fail(std::uint64_t nBegin, TimePoint tpNow, Milliseconds least, Random& random);
    void Hasten() { m_tpDue = TimePoint(); } ///< ends the wait: something has changed
    void Leave() { --m_nInFlight; }          ///< it says nothing about the server

private:
    Milliseconds m_longest;
    std::size_t m_nInFlight = 0;
    std::size_t m_nStep; ///< of the recovery; index of the limits
    unsigned m_nFailures = 0;
    TimePoint m_tpDue{};
    std::uint64_t m_nPeriod = 0; ///< each failure begins a new one
};

} // namespace outbox
