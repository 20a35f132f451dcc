#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

/// A histogram of durations with a fixed size. It keeps each duration with an error of less than 1 %: a class
/// of durations is one microsecond wide up to 255 µs, and at most a 128th of its durations wide above that.
class Histogram
{
public:
    using Duration = std::chrono::microseconds;

    /// The longest duration that is kept, about 50 days; a longer one counts as this one.
    static constexpr Duration LONGEST{(std::int64_t{1} << 42) - 1};

    /// Adds a duration. One of less than nothing counts as 0.
    void Add(Duration duration);

    std::uint64_t Count() const { return m_nCount; }

    /// The longest one, exactly; 0 if there is none.
    Duration Max() const { return m_max; }

    /// The duration that a part of all durations does not exceed, never below its exact value; 0 if there is
    /// none.
    /// @param dPart  0 to 1; 0.99 is the 99th percentile
    Duration Percentile(double dPart) const;

private:
    static constexpr int SHIFTS = 35; ///< up to `LONGEST`, whose 42 bits are 8 and 34 more
    static constexpr std::size_t CLASSES = std::size_t{128} * (SHIFTS + 1);

    static std::size_t ClassOf(std::uint64_t nValue);
    static std::uint64_t HighestOf(std::size_t nClass);

    std::array<std::uint64_t, CLASSES> m_arCounts{};
    std::uint64_t m_nCount = 0;
    Duration m_max{0};
};
