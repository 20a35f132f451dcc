#include "Deliveries.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using Delivery = std::pair<const CUIAgentRsp*, std::thread::id>;

struct SDeliveries {
    std::mutex mutex; ///< guards all that follows
    std::condition_variable ended;
    std::set<const CUIAgentRsp*> setOpen;
    std::vector<Delivery> vecUnderWay;

    bool IsUnderWayElsewhere(const CUIAgentRsp& instance) const
    {
        return std::any_of(vecUnderWay.begin(), vecUnderWay.end(), [&instance](const Delivery& delivery) {
            return delivery.first == &instance && delivery.second != std::this_thread::get_id();
        });
    }
};

/// Never destroyed: the end of the process needs it.
SDeliveries& All()
{
    static SDeliveries& deliveries = *new SDeliveries;
    return deliveries;
}

bool Begin(const CUIAgentRsp* pInstance)
{
    const std::lock_guard<std::mutex> lock(All().mutex);
    if (All().setOpen.count(pInstance) == 0) {
        return false;
    }
    All().vecUnderWay.emplace_back(pInstance, std::this_thread::get_id());
    return true;
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

CDelivering::CDelivering(const CUIAgentRsp* pInstance) : m_pInstance(pInstance), m_bAllowed(Begin(pInstance))
{
}

CDelivering::~CDelivering()
{
    if (m_bAllowed) {
        const std::lock_guard<std::mutex> lock(All().mutex);
        auto& vecUnderWay = All().vecUnderWay;
        vecUnderWay.erase(std::find(vecUnderWay.begin(), vecUnderWay.end(),
                                    Delivery(m_pInstance, std::this_thread::get_id())));
        All().ended.notify_all();
    }
}
