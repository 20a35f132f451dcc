#pragma once

#include "LeftBehind.h"

#include <ktshttpagent/BlockingOutcome.h>

#include <QMap>
#include <QString>

/// The state of `CUIAgentReq` outside its own members. Compiled hosts depend on the memory layout of that
/// class, so it must not get further members.
struct SAgentState {
    QMap<int, QString> mapEndpointOrigin; ///< for the paths that the settings set
    SBlockingOutcome lastOutcome;         ///< of the last call on the object's thread
    bool bStrictWaits = false;            ///< read once by each call
    LeftBehind leftBehind;
};
