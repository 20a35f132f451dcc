#pragma once

#include "HostCallBack.h"

#include <ktshttpagent/ResultRecords.h>

namespace VelCSDK
{

/// The decoders: one for each type of request whose reply is read. A decoder fills a record from the reply's
/// body, hands it over once, whatever the body holds, and then frees the request's user data. A body beyond
/// the limits of ReplyLimits.h, or one for which memory runs out, is a failure like one that can't be parsed,
/// and a line in the log says why. Nobody else reads the record once it is handed over.
///
/// Threads: decoders run on the transport's delivering thread, even while their `CSource` is replaced; they
/// keep nothing between two calls.
class CSource
{
public:
    /// Registers the decoders of all requests with `CDataResponse`.
    /// @param host  what they hand the replies over to; it outlives the last delivery
    explicit CSource(const HostCallBack& host);

    /// Calls the host's response callback. Throws `std::bad_function_call` when none is set.
    static void Notify(const HostCallBack& host, int nType, const void* pUser, const SResponseHeader& header,
                       int nResult);
};

} // namespace VelCSDK
