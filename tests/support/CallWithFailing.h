#pragma once

#include "FailingAllocations.h"

#include <gtest/gtest.h>

/// Calls a function with the n-th allocation failing, and demands that it throws nothing at its caller.
/// @param szCaller  who that is
template <class Call>
void CallWithFailing(int nNth, bool bFailsOn, const char* szCaller, Call fnCall)
{
    FailAllocation(nNth, bFailsOn);
    try {
        fnCall();
    } catch (...) {
        EndFailing();
        ADD_FAILURE() << "something was thrown at " << szCaller;
    }
    EndFailing();
}
