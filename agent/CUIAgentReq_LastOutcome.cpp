#include <ktshttpagent/CUIAgentReq.h>

#include "AgentState.h"

#include "net/NetworkUse.h"
#include "platform/system/NeverDestroyed.h"

#include <QThread>

#include <mutex>
#include <utility>

namespace
{

/// The last call that was refused while the object's own state must not be used: on another thread than the
/// object's, or while the process ends and the object may be destroyed already.
struct RefusalElsewhere {
    std::mutex mutex; ///< guards the member below
    SBlockingOutcome outcome;
};

RefusalElsewhere& RefusedElsewhere()
{
    static const NeverDestroyed<RefusalElsewhere> refused; // it may be needed while the process ends
    return *refused;
}

bool IsElsewhere(const QObject* pObject)
{
    return HasNetworkUseEnded() || QThread::currentThread() != pObject->thread();
}

} // namespace

SBlockingOutcome CUIAgentReq::LastOutcome() const
{
    if (IsElsewhere(this)) {
        const std::lock_guard<std::mutex> lock(RefusedElsewhere().mutex);
        return RefusedElsewhere().outcome;
    }
    return m_pState->lastOutcome;
}

void CUIAgentReq::KeepOutcome(SBlockingOutcome outcome)
{
    if (IsElsewhere(this)) {
        const std::lock_guard<std::mutex> lock(RefusedElsewhere().mutex);
        RefusedElsewhere().outcome = std::move(outcome);
    } else {
        m_pState->lastOutcome = std::move(outcome);
    }
}
