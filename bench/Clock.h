#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <thread>
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

/// Calls a function 20 times a second, and measures the processor time that the whole process takes
/// meanwhile. The first calls are not counted.
/// @return microseconds a call
template <class Function>
double ProcessorTimeOfSparse(std::size_t nCount, Function fnCall)
{
    constexpr std::size_t NOT_COUNTED = 10;
    constexpr std::chrono::milliseconds PERIOD{50};
    std::clock_t nBefore = 0;
    auto tpNext = std::chrono::steady_clock::now();
    for (std::size_t nCall = 0; nCall < NOT_COUNTED + nCount; ++nCall, tpNext += PERIOD) {
        std::this_thread::sleep_until(tpNext);
        if (nCall == NOT_COUNTED) {
            nBefore = std::clock();
        }
        fnCall();
    }
    std::this_thread::sleep_until(tpNext);
    return static_cast<double>(std::clock() - nBefore) * 1e6 / CLOCKS_PER_SEC / static_cast<double>(nCount);
}
