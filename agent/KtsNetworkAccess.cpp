#include <ktshttpagent/KtsNetworkAccess.h>

#include "net/ManagerFactory.h"

#include <utility>

void KtsSetNetworkAccess(KtsNetworkAccessFactory fnMake)
{
    SetManagerFactory(std::move(fnMake));
}
