#include <ktshttpagent/KtsTrace.h>

#include "TransportTrace.h"

#include "net/CallTrace.h"
#include "platform/system/NeverDestroyed.h"

#include <mutex>
#include <string_view>
#include <utility>

namespace
{

struct Receiver {
    std::mutex mutex; ///< guards the member below
    KtsTraceReceiver fnReceive;
};

Receiver& TheReceiver()
{
    static const NeverDestroyed<Receiver> receiver; // exchanges may still end while the process does
    return *receiver;
}

void Tell(EKtsTrace ePart, std::string_view strBytes, const void* pExchange) noexcept
{
    try {
        const std::lock_guard<std::mutex> lock(TheReceiver().mutex);
        if (TheReceiver().fnReceive) {
            TheReceiver().fnReceive({ePart, std::string(strBytes), pExchange});
        }
    } catch (...) { // not enough memory, or the receiver threw: the exchange goes on all the same
    }
}

/// Both kinds of parts have the numbers of `EKtsTrace`.
void TellOfTransport(int nPart, const char* pBytes, std::size_t nBytes, const void* pExchange) noexcept
{
    Tell(static_cast<EKtsTrace>(nPart), {pBytes, nBytes}, pExchange);
}

void TellOfCall(CallPart ePart, std::string_view strBytes, const void* pExchange) noexcept
{
    Tell(static_cast<EKtsTrace>(ePart), strBytes, pExchange);
}

static_assert(static_cast<int>(CallPart::Remark) == static_cast<int>(EKtsTrace::Remark));
static_assert(static_cast<int>(CallPart::ReplyHeader) == static_cast<int>(EKtsTrace::ReplyHeader));
static_assert(static_cast<int>(CallPart::RequestHeader) == static_cast<int>(EKtsTrace::RequestHeader));
static_assert(static_cast<int>(CallPart::ReplyBody) == static_cast<int>(EKtsTrace::ReplyBody));
static_assert(static_cast<int>(CallPart::RequestBody) == static_cast<int>(EKtsTrace::RequestBody));
static_assert(static_cast<int>(CallPart::End) == static_cast<int>(EKtsTrace::End));

} // namespace

bool KtsSetTrace(KtsTraceReceiver fnReceive)
{
    const bool bSet = static_cast<bool>(fnReceive);
    {
        const std::lock_guard<std::mutex> lock(TheReceiver().mutex);
        std::swap(TheReceiver().fnReceive, fnReceive); // the old one is destroyed without the lock
    }
    SetCallTrace(bSet ? &TellOfCall : nullptr);
    return VelCSDK::SetTransportTrace(bSet ? &TellOfTransport : nullptr);
}
