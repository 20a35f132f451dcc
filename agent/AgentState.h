#pragma once

#include "LeftBehind.h"

#include <ktshttpagent/BlockingOutcome.h>

#include <QMap>
#include <QString>

/// The state of `CUIAgentReq` that is not in its members. Compiled hosts depend on its memory layout, so no
/// member may be added there.
struct SAgentState {
    QMap<int, QString> mapEndpointOrigin; ///< for the paths that the settings set
    SBlockingOutcome lastOutcome;         ///< of the last call on the object's thread
    bool bStrictWaits = false;            ///< read once by each call
    LeftBehind leftBehind;
};
