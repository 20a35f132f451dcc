#pragma once

#include "RequestCatalogue.h"
#include "RequestRecords.h"

#include <string>

namespace VelCSDK
{

/// The arguments of a project query.
struct SProjectsQuery {
    std::string dxtm;
    std::string t;
};

/// The arguments of an auto-export query.
struct SAutoExportQuery {
    std::string bjtzser;
    std::string csxmser;
    std::string dxtm;
};

/// The arguments of an FTP path query.
struct SFtpFilePathQuery {
    std::string bjtzser;
    std::string csxmser;
    std::string supplier;
    std::string batteryStatus;
};

/// What a request carries as its user data, a copy of its arguments, by request type id. An id without an
/// entry carries none.
template <int nType>
struct UserDataOf;

// clang-format off
template <> struct UserDataOf<RequestType::GetUserInfo> { using Type = int; };
template <> struct UserDataOf<RequestType::ReportChlStatus> { using Type = std::string; };
template <> struct UserDataOf<RequestType::GetProjects> { using Type = SProjectsQuery; };
template <> struct UserDataOf<RequestType::GetSupportVer> { using Type = std::string; };
template <> struct UserDataOf<RequestType::GetBattStatus> { using Type = std::string; };
template <> struct UserDataOf<RequestType::GetAutoExport> { using Type = SAutoExportQuery; };
template <> struct UserDataOf<RequestType::GetFtpFilePath> { using Type = SFtpFilePathQuery; };
template <> struct UserDataOf<RequestType::GetChannelCheckData> { using Type = tagSRequestGetChannelCheckData; };
template <> struct UserDataOf<RequestType::GetWhetherInCommon> { using Type = std::string; };
template <> struct UserDataOf<RequestType::PostUploadData> { using Type = tagBatteryTestData; };
template <> struct UserDataOf<RequestType::ReportCycleData> { using Type = std::string; };
// clang-format on

/// Owns the user data that came back with a reply, and frees it as the type that the request's id tells. The
/// user data of an unknown id is left alone: nothing is known of it.
class CUserData
{
public:
    CUserData(int nType, void* pUserData) noexcept : m_nType(nType), m_pUserData(pUserData) {}
    ~CUserData();
    CUserData(const CUserData&) = delete;
    CUserData& operator=(const CUserData&) = delete;

    /// The user data of a request of type `nType`; null when it came without.
    template <int nType>
    const typename UserDataOf<nType>::Type* Get() const noexcept
    {
        return static_cast<const typename UserDataOf<nType>::Type*>(m_pUserData);
    }

private:
    int m_nType;
    void* m_pUserData;
};

} // namespace VelCSDK
