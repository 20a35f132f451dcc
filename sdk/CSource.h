#pragma once

#include "HostCallBack.h"

#include <ktshttpagent/ResultRecords.h>

namespace VelCSDK
{

/// The decoders: one for each type of request whose reply is read. A decoder fills a record from the reply's
/// body, passes it to the host's response callback exactly once, whatever the body contains, and then frees
/// the request's user data. A body that exceeds the limits of ReplyLimits.h, or for which memory runs out, is
/// a failure like one that can't be parsed, and a line in the log says why. After the callback nobody reads
/// the record.
///
/// Threads: decoders run on the transport's delivering thread, even while their `CSource` is replaced; they
/// keep no state between two calls.
class CSource
{
public:
    /// Registers the decoders of all requests with `CDataResponse`.
    /// @param host  has the callback that gets the replies; it must outlive the last delivery
    explicit CSource(const HostCallBack& host);

    /// Calls the host's response callback. Throws `std::bad_function_call` if none is set.
    static void Notify(const HostCallBack& host, int nType, const void* pUser, const SResponseHeader& header,
                       int nResult);
};

} // namespace VelCSDK
