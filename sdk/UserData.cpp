#include "UserData.h"

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

} // namespace

CUserData::~CUserData()
{
    FreeAsOneOf<RequestType::GetUserInfo, RequestType::ReportChlStatus, RequestType::GetProjects,
                RequestType::GetSupportVer, RequestType::GetBattStatus, RequestType::GetAutoExport,
                RequestType::GetFtpFilePath, RequestType::GetChannelCheckData,
                RequestType::GetWhetherInCommon, RequestType::PostUploadData, RequestType::ReportCycleData>(
        m_nType, m_pUserData);
}

} // namespace VelCSDK
