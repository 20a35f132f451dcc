#pragma once

#include <chrono>

namespace outbox
{

using TimePoint = std::chrono::steady_clock::time_point;
using Milliseconds = std::chrono::milliseconds;

/// Where random numbers come from; tests bring their own.
class Random
{
public:
    Random() = default;
    virtual ~Random() = default;
    Random(const Random&) = delete;
    Random& operator=(const Random&) = delete;

    /// At least 0 and less than 1.
    virtual double Fraction() = 0;
};

/// The first upper bound of a wait, which doubles with each failure.
inline constexpr Milliseconds FIRST_BACKOFF{500};
/// The longest wait for a server that does not answer.
inline constexpr Milliseconds LONGEST_BACKOFF = std::chrono::minutes(5);
/// The longest wait for a place that does not take reports, and for what the server itself asks for.
inline constexpr Milliseconds LONGEST_WAIT = std::chrono::hours(1);

/// How long to wait after failures in a row: anything between nothing and an upper bound, which doubles with
/// each failure up to `longest`. The bound is limited before the number is drawn, so hosts that have waited
/// for long don't all come back at the same moment.
/// @param nFailures  at least 1
Milliseconds Backoff(unsigned nFailures, Milliseconds longest, Random& random);

} // namespace outbox
