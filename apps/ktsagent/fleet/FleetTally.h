#pragma once

#include "Histogram.h"

#include <chrono>
#include <cstdint>
#include <mutex>

/// A moment of a fleet's run.
struct FleetFigures {
    std::int64_t nSent = 0;
    std::int64_t nLate = 0;  ///< of these, sent more than `FleetTally::LATE` after they were due
    std::int64_t nEnded = 0; ///< of these, answered or failed
    std::int64_t nYes = 0;   ///< of these, answered with a yes
    Histogram latencies;     ///< from the moment when a report was due to its end, however it ended

    std::int64_t Outstanding() const { return nSent - nEnded; }
};

/// Counts what a fleet sends and how it ends. Thread-safe.
class FleetTally
{
public:
    static constexpr std::chrono::milliseconds LATE{20};

    using Duration = std::chrono::steady_clock::duration;

    /// @param delay  from the moment when the report was due until now
    void NoteSent(Duration delay);
    void NoteEnded(Duration latency, bool bYes);

    FleetFigures Figures() const;

private:
    mutable std::mutex m_mutex;
    FleetFigures m_figures;
};
