#include "TransportTrace.h"

#include "platform/system/OptionalFunction.h"

#include <ktshttpagent/chttpclient.h>

namespace VelCSDK
{

bool SetTransportTrace(TransportTrace fnTrace)
{
    const auto fnSet = reinterpret_cast<decltype(&CHttpClientSetTrace)>(
        FindOptionalFunction("chttpclient", "CHttpClientSetTrace"));
    if (fnSet == nullptr) {
        return false;
    }
    fnSet(fnTrace);
    return true;
}

} // namespace VelCSDK
