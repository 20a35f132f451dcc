#include "UserData.h"

#include "requests/AllRequests.h"

#include "platform/system/NeverDestroyed.h"

#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

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

struct UnderWayRequest {
    int nType;
    std::string strUrl;
};

/// The user data of all requests that have no answer yet.
struct RequestsUnderWay {
    std::mutex mutex;
    std::unordered_map<const void*, UnderWayRequest> mapRequest;
};

RequestsUnderWay& UnderWay()
{
    static const NeverDestroyed<RequestsUnderWay> underWay; // answers come until the process ends
    return *underWay;
}

bool TakeUnderWay(int nType, const void* pUserData, std::string& strUrl) noexcept
{
    if (pUserData == nullptr) {
        return false;
    }
    RequestsUnderWay& underWay = UnderWay();
    const std::lock_guard<std::mutex> lock(underWay.mutex);
    const auto found = underWay.mapRequest.find(pUserData);
    if (found == underWay.mapRequest.end() || found->second.nType != nType) {
        return false;
    }
    strUrl.swap(found->second.strUrl);
    underWay.mapRequest.erase(found);
    return true;
}

} // namespace

void PutUnderWay(int nType, void* pUserData, std::string strUrl)
{
    RequestsUnderWay& underWay = UnderWay();
    const std::lock_guard<std::mutex> lock(underWay.mutex);
    underWay.mapRequest.try_emplace(pUserData, UnderWayRequest{nType, std::move(strUrl)});
}

std::string UrlUnderWay(int nType, const void* pUserData) noexcept
{
    RequestsUnderWay& underWay = UnderWay();
    const std::lock_guard<std::mutex> lock(underWay.mutex);
    const auto found = underWay.mapRequest.find(pUserData);
    if (found == underWay.mapRequest.end() || found->second.nType != nType) {
        return {};
    }
    try {
        return found->second.strUrl;
    } catch (const std::bad_alloc&) { // then the log names no URL
        return {};
    }
}

UserData::UserData(int nType, void* pUserData) noexcept
    : m_nType(nType), m_pUserData(TakeUnderWay(nType, pUserData, m_strUrl) ? pUserData : nullptr)
{
}

UserData::~UserData()
{
    Free(AllRequests(), m_nType, m_pUserData);
}

} // namespace VelCSDK
