#include "HostCallBack.h"

#include <new>
#include <utility>

namespace VelCSDK
{

void HostCallBack::Set(ResponseCallBack fn)
{
    auto pCallBack = std::make_shared<const ResponseCallBack>(std::move(fn));
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pCallBack.swap(pCallBack); // the old one is destroyed after the lock is released
}

ResponseCallBack HostCallBack::Copy() const
{
    const std::shared_ptr<const ResponseCallBack> pHeld = Held();
    return pHeld != nullptr ? *pHeld : ResponseCallBack();
}

void HostCallBack::Call(int nType, const void* pUser, const void* pHeader, int nResult) const
{
    ResponseCallBack fnCopy;
    std::shared_ptr<const ResponseCallBack> pHeld;
    try {
        fnCopy = Copy();
    } catch (const std::bad_alloc&) {
        pHeld = Held();
    }
    const ResponseCallBack& fnResponse = pHeld != nullptr ? *pHeld : fnCopy;
    fnResponse(nType, pUser, pHeader, nResult);
}

std::shared_ptr<const ResponseCallBack> HostCallBack::Held() const noexcept
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pCallBack;
}

} // namespace VelCSDK
