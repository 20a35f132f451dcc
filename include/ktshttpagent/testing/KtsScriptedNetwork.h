#pragma once

/// @file
/// `KtsScriptedNetwork`: a network for tests of hosts that use the blocking interface.

#include "KtsScript.h"

/// Answers the requests of the blocking senders of `CUIAgentReq` by its script, instead of the network:
///
///     KtsScriptedNetwork network;
///     network.On(RequestType::GetWhetherInCommon, KtsReply::Never());
///     bool bCommon = false;
///     agent->SendGetWhetherInCommonEx("server", 8080, 50, "CELL-1", bCommon);
///     EXPECT_EQ(agent->LastOutcome().eEnd, EBlockingEnd::TimedOut);
///
/// The type of a request is found by its endpoint path, as the site's settings have it. Statuses and failures
/// become Qt's errors, as Qt makes them of real ones, so `LastOutcome` tells them as always. A reply comes
/// through the event loop that the sender runs, never before the sender waits.
///
/// It is in force for the calls that begin between its constructor and its destructor, in the whole process;
/// if there are several, the newest is. It is made of `KtsSetNetworkAccess`, so a test can't use both. A
/// reply that is outstanding when it is destroyed still comes.
///
/// The three senders of cycle and step data sleep for 2 s after each failure, also here.
///
/// Threads: may be made and destroyed on any thread.
class KtsScriptedNetwork : public KtsScript
{
public:
    KtsScriptedNetwork();  ///< in force from now on
    ~KtsScriptedNetwork(); ///< the next call uses the network again

private:
    class Manager;
};
