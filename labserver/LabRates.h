#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <random>
#include <vector>

/// The requests of one second.
struct LabSecond {
    std::int64_t nSecond = 0; ///< since 1970 (UTC)
    std::uint64_t nCount = 0;
    std::uint64_t nFailed = 0;
    double fMedianMs = 0; ///< of their durations; 0 without any
    double f99Ms = 0;     ///< the 99th percentile
    double fMostMs = 0;
};

/// How many requests were answered in each of the last five minutes' seconds, and how fast. Thread-safe.
class LabRates
{
public:
    static constexpr std::chrono::seconds KEPT{300};

    /// Now, in seconds since 1970 (UTC), as all of these functions count them.
    static std::int64_t Now();

    /// Counts a request. @param nSecond  when it was answered
    void Add(std::int64_t nSecond, std::chrono::microseconds duration, bool bFailed);

    LabSecond Second(std::int64_t nSecond) const;
    /// All that are over, oldest first; those without requests too.
    std::vector<LabSecond> All(std::int64_t nNow) const;

private:
    struct Bucket {
        std::uint64_t nCount = 0;
        std::uint64_t nFailed = 0;
        std::chrono::microseconds most{0};
        std::vector<float> vecSample; ///< durations in milliseconds, of at most a thousand requests
    };

    static LabSecond Summed(std::int64_t nSecond, const Bucket& bucket);

    mutable std::mutex m_mutex;
    std::map<std::int64_t, Bucket> m_mapBuckets;
    std::minstd_rand m_random{std::random_device()()};
};
