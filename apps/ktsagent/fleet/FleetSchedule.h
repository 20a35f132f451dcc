#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

/// What a fleet of simulated hosts does.
struct FleetPlan {
    int nHosts = 1000;
    int nChannels = 8;  ///< of each host
    double dRate = 0.1; ///< reports per second of each channel
    int nSeconds = 10;
    int nSeed = 1;

    std::int64_t AllChannels() const { return std::int64_t{nHosts} * nChannels; }
};

/// A report that a channel must send.
struct DueReport {
    std::chrono::microseconds due; ///< since the start
    int nHost;                     ///< counted from 0
    int nChannel;                  ///< of this host, counted from 0
    std::int64_t nTurn;            ///< which report of this channel, counted from 0
};

/// When each channel reports: regularly, but each at its own moment, which the plan's seed decides. The same
/// plan gives the same schedule on every system.
class FleetSchedule
{
public:
    explicit FleetSchedule(const FleetPlan& plan);

    /// The next report, in the order in which they are due; nothing after the last one.
    std::optional<DueReport> Next();

private:
    FleetPlan m_plan;
    std::vector<std::pair<double, int>> m_vecPhases; ///< each channel's part of the interval, and the channel
    std::size_t m_nNext = 0;
    std::int64_t m_nTurn = 0;
};

/// How many reports a plan has.
std::int64_t CountReports(const FleetPlan& plan);
