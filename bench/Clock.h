#pragma once

#include <chrono>
#include <vector>

/// Measures the time since it was made.
class Stopwatch
{
public:
    double Seconds() const { return Elapsed<std::ratio<1>>(); }
    double Milliseconds() const { return Elapsed<std::milli>(); }
    double Microseconds() const { return Elapsed<std::micro>(); }

private:
    using Clock = std::chrono::steady_clock;

    template <class Unit>
    double Elapsed() const
    {
        return std::chrono::duration<double, Unit>(Clock::now() - m_tpStart).count();
    }

    Clock::time_point m_tpStart = Clock::now();
};

/// Measures the time from each call of `Next` to the following one.
class Laps
{
public:
    void Next()
    {
        if (m_bRunning) {
            m_vecMicroseconds.push_back(m_lap.Microseconds());
        }
        m_bRunning = true;
        m_lap = Stopwatch();
    }

    const std::vector<double>& Microseconds() const { return m_vecMicroseconds; }

private:
    bool m_bRunning = false;
    Stopwatch m_lap;
    std::vector<double> m_vecMicroseconds;
};
