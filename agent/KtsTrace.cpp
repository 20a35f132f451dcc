#include <ktshttpagent/KtsTrace.h>

#include "TransportTrace.h"

#include "net/CallTrace.h"
#include "platform/system/NeverDestroyed.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace
{

using Receiver = std::shared_ptr<const KtsTraceReceiver>;

struct Current {
    std::mutex mutex;  ///< guards the member below; not held while a receiver runs
    Receiver receiver; ///< null for none
};

Current& TheCurrent()
{
    static const NeverDestroyed<Current> current; // exchanges may still end while the process does
    return *current;
}

/// @return the previous one
Receiver Replace(Receiver receiver)
{
    const std::lock_guard<std::mutex> lock(TheCurrent().mutex);
    return std::exchange(TheCurrent().receiver, std::move(receiver));
}

Receiver InForce()
{
    const std::lock_guard<std::mutex> lock(TheCurrent().mutex);
    return TheCurrent().receiver;
}

void Tell(EKtsTrace ePart, std::string_view strBytes, const void* pExchange) noexcept
{
    try {
        if (const Receiver receiver = InForce()) {
            (*receiver)({ePart, std::string(strBytes), pExchange});
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
    Replace(bSet ? std::make_shared<const KtsTraceReceiver>(std::move(fnReceive)) : nullptr);
    SetCallTrace(bSet ? &TellOfCall : nullptr);
    return VelCSDK::SetTransportTrace(bSet ? &TellOfTransport : nullptr);
}
