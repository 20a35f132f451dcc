#pragma once

#include "FailingAllocations.h"

#include <gtest/gtest.h>

/// Calls a function while the n-th allocation fails, and checks that it throws nothing at its caller.
/// @param szCaller  names the caller in messages
template <class Call>
void CallWithFailing(int nNth, bool bFailsOn, const char* szCaller, Call fnCall)
{
    FailAllocation(nNth, bFailsOn);
    try {
        fnCall();
    } catch (...) {
        EndFailing();
        ADD_FAILURE() << "an exception reached " << szCaller;
    }
    EndFailing();
}
