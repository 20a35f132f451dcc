#pragma once

#include <atomic>

/// What is added to the wall clock of this process, in seconds. Only a program that is linked with
/// ShiftedClock.cpp has such a clock. The steady clock stays as it is.
inline std::atomic<long long> g_nClockShift = 0;
