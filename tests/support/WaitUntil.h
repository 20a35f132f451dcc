#pragma once

#include "Enough.h"

#include <chrono>
#include <thread>

/// Waits until a condition holds that another thread or process brings about.
/// @return whether it holds
template <class Condition>
bool WaitUntil(const Condition& fnCondition,
               std::chrono::milliseconds patience = std::chrono::milliseconds(ENOUGH_MS))
{
    const auto tpEnd = std::chrono::steady_clock::now() + patience;
    bool bHolds = fnCondition();
    while (!bHolds && std::chrono::steady_clock::now() < tpEnd) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        bHolds = fnCondition();
    }
    return bHolds;
}
