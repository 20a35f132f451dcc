#pragma once

#include "LeftBehind.h"

#include <ktshttpagent/BlockingOutcome.h>

#include <QMap>
#include <QString>

/// What `CUIAgentReq` keeps beside its fixed members, whose places and number hosts know.
struct SAgentState {
    QMap<int, QString> mapEndpointOrigin; ///< of the paths that the settings gave
    SBlockingOutcome lastOutcome;         ///< of the calls on the object's thread
    bool bStrictWaits = false;            ///< read once by each call
    LeftBehind leftBehind;
};
