#include "Deliveries.h"

#include "platform/system/NeverDestroyed.h"

#include <condition_variable>
#include <mutex>
#include <set>

/// All instances and deliveries; the mutex guards all members.
struct Deliveries {
    std::mutex mutex;
    std::condition_variable ended;
    std::set<const CUIAgentRsp*> setOpen;
    Delivering* pUnderWay = nullptr; ///< the latest, which points to the one before it

    bool Begin(Delivering& delivering) noexcept
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (setOpen.count(delivering.m_pInstance) == 0) {
            return false;
        }
        delivering.m_pNext = pUnderWay;
        pUnderWay = &delivering;
        return true;
    }

    void End(Delivering& delivering) noexcept
    {
        const std::lock_guard<std::mutex> lock(mutex);
        Delivering** ppLink = &pUnderWay;
        while (*ppLink != &delivering) {
            ppLink = &(*ppLink)->m_pNext;
        }
        *ppLink = delivering.m_pNext;
        ended.notify_all();
    }

    bool IsUnderWayElsewhere(const CUIAgentRsp& instance) const
    {
        const Delivering* pDelivering = pUnderWay;
        while (pDelivering != nullptr && (pDelivering->m_pInstance != &instance ||
                                          pDelivering->m_idThread == std::this_thread::get_id())) {
            pDelivering = pDelivering->m_pNext;
        }
        return pDelivering != nullptr;
    }
};

namespace
{

Deliveries& All()
{
    static const NeverDestroyed<Deliveries> deliveries; // needed while the process ends
    return *deliveries;
}

} // namespace

void OpenDeliveries(const CUIAgentRsp& instance)
{
    const std::lock_guard<std::mutex> lock(All().mutex);
    All().setOpen.insert(&instance);
}

void CloseDeliveries(const CUIAgentRsp& instance, std::chrono::milliseconds longest)
{
    std::unique_lock<std::mutex> lock(All().mutex);
    All().setOpen.erase(&instance);
    All().ended.wait_for(lock, longest, [&instance] { return !All().IsUnderWayElsewhere(instance); });
}

Delivering::Delivering(const CUIAgentRsp* pInstance) noexcept
    : m_pInstance(pInstance), m_bAllowed(All().Begin(*this))
{
}

Delivering::~Delivering()
{
    if (m_bAllowed) {
        All().End(*this);
    }
}
