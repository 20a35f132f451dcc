#include "UserData.h"

#include <mutex>
#include <unordered_map>

namespace VelCSDK
{
namespace
{

template <int nType>
bool FreeAs(int nActualType, void* pUserData) noexcept
{
    if (nActualType != nType) {
        return false;
    }
    delete static_cast<typename UserDataOf<nType>::Type*>(pUserData);
    return true;
}

template <int... nTypes>
void FreeAsOneOf(int nActualType, void* pUserData) noexcept
{
    static_cast<void>((FreeAs<nTypes>(nActualType, pUserData) || ...));
}

/// The user data of all requests that have no answer yet, with the types of their requests.
struct SUnderWay {
    std::mutex mutex;
    std::unordered_map<const void*, int> mapType;
};

SUnderWay& UnderWay()
{
    static SUnderWay& underWay = *new SUnderWay; // never destroyed: answers come until the process ends
    return underWay;
}

bool TakeUnderWay(int nType, const void* pUserData) noexcept
{
    if (pUserData == nullptr) {
        return false;
    }
    SUnderWay& underWay = UnderWay();
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
    SUnderWay& underWay = UnderWay();
    const std::lock_guard<std::mutex> lock(underWay.mutex);
    underWay.mapType.emplace(pUserData, nType);
}

CUserData::CUserData(int nType, void* pUserData) noexcept
    : m_nType(nType), m_pUserData(TakeUnderWay(nType, pUserData) ? pUserData : nullptr)
{
}

CUserData::~CUserData()
{
    FreeAsOneOf<RequestType::GetUserInfo, RequestType::ReportChlStatus, RequestType::GetProjects,
                RequestType::GetSupportVer, RequestType::GetBattStatus, RequestType::GetAutoExport,
                RequestType::GetFtpFilePath, RequestType::GetChannelCheckData,
                RequestType::GetWhetherInCommon, RequestType::PostUploadData, RequestType::ReportCycleData>(
        m_nType, m_pUserData);
}

} // namespace VelCSDK
