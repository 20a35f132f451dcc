#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <utility>

/// The figures of one request type on one interface, as a figures' file says them.
struct RequestStats {
    std::uint64_t nSent = 0;
    std::map<std::string, std::uint64_t> mapEnded;    ///< by result: "succeeded", "refused", "timed_out"…
    std::map<double, std::uint64_t> mapWithinSeconds; ///< how many ended within so many seconds; "+Inf" too

    /// The shortest bound, in seconds, within which this share of all ended; negative for no bound, or if
    /// none ended.
    double Within(double dShare) const;
};

/// A figures' file, see KtsMetrics.h.
struct StatsFile {
    using Key = std::pair<int, std::string>; ///< request type id and interface
    std::map<Key, RequestStats> mapRequests;
    std::map<std::string, double> mapSingle; ///< the figures without labels, without "ktshttpagent_"
};

/// Reads the lines that it knows, and leaves out all others.
StatsFile ReadStats(std::istream& file);
