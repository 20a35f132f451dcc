#include "UserData.h"

#include "requests/AllRequests.h"

#include "platform/system/NeverDestroyed.h"

#include <mutex>
#include <unordered_map>

namespace VelCSDK
{
namespace
{

/// @return whether the user data belonged to a `Request`; if so, it is freed
template <class Request>
bool FreeAs(int nType, void* pUserData) noexcept
{
    if (nType != Request::FORM.nType) {
        return false;
    }
    delete static_cast<typename Request::Arguments*>(pUserData);
    return true;
}

template <class... Request>
void Free(RequestList<Request...> /*all*/, int nType, void* pUserData) noexcept
{
    static_cast<void>((FreeAs<Request>(nType, pUserData) || ...));
}

/// The user data of all requests that have no answer yet, with their request type ids.
struct RequestsUnderWay {
    std::mutex mutex;
    std::unordered_map<const void*, int> mapType;
};

RequestsUnderWay& UnderWay()
{
    static const NeverDestroyed<RequestsUnderWay> underWay; // answers come until the process ends
    return *underWay;
}

bool TakeUnderWay(int nType, const void* pUserData) noexcept
{
    if (pUserData == nullptr) {
        return false;
    }
    RequestsUnderWay& underWay = UnderWay();
    const std::lock_guard<std::mutex> lock(underWay.mutex);
    const auto found = underWay.mapType.find(pUserData);
    if (found == underWay.mapType.end() || found->second != nType) {
        return false;
    }
    underWay.mapType.erase(found);
    return true;
}

} // namespace

void PutUnderWay(int nType, void* pUserData)
{
    RequestsUnderWay& underWay = UnderWay();
    const std::lock_guard<std::mutex> lock(underWay.mutex);
    underWay.mapType.emplace(pUserData, nType);
}

UserData::UserData(int nType, void* pUserData) noexcept
    : m_nType(nType), m_pUserData(TakeUnderWay(nType, pUserData) ? pUserData : nullptr)
{
}

UserData::~UserData()
{
    Free(AllRequests(), m_nType, m_pUserData);
}

} // namespace VelCSDK
