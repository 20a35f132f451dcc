#pragma once

#include <cstddef>
#include <set>
#include <string>

/// What may happen in one run of the model of the transport's threads, see `World`. Exchanges have numbers:
/// first those of the first sender, then those of the second.
struct Scenario {
    /// Wake-ups that a fault could lose. Losing one shows that the search notices it.
    enum class Lost { None, OfSleeperBySender, OfLeaderBySender, OfSleeperByLeader, OfLeaderByStop };

    int nEachSends = 2;
    std::set<int> setSilent = {};   ///< exchanges that the network never ends
    std::set<int> setBlocking = {}; ///< exchanges whose receiver never returns
    std::set<int> setSending = {};  ///< exchanges whose receiver sends one more
    bool bStop = false;             ///< the transport is stopped at any moment
    bool bIdleTime = false;         ///< idle connections must be closed at any moment, once
    Lost lost = Lost::None;
};

struct ModelResult {
    std::size_t nStates = 0;
    std::string strFault; ///< what went wrong first, and the state; empty for nothing
};

/// Visits every state that any order of steps leads to.
ModelResult CheckEveryOrder(const Scenario& scenario);
