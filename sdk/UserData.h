#pragma once

#include "RequestCatalogue.h"

#include <ktshttpagent/RequestRecords.h>

#include <memory>
#include <string>
#include <utility>

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

/// A copy of a request's arguments that is under way from now on: it belongs to the first `CUserData` that is
/// made of it.
template <int nType>
void* NewUserData(typename UserDataOf<nType>::Type userData);

/// Takes over the user data of a request that came back with its reply, or whose sending failed, and frees
/// it. A pointer that is not under way as user data of that type is left alone: it was taken before, or is
/// not ours. So whatever a transport does, nothing is freed twice, and nothing is read that was freed.
class CUserData
{
public:
    CUserData(int nType, void* pUserData) noexcept;
    ~CUserData();
    CUserData(const CUserData&) = delete;
    CUserData& operator=(const CUserData&) = delete;

    /// The request's context, as the response callback gets it; null when nothing was taken.
    const void* Context() const noexcept { return m_pUserData; }

    /// The same as the user data of a request of type `nType`.
    template <int nType>
    const typename UserDataOf<nType>::Type* Get() const noexcept
    {
        return static_cast<const typename UserDataOf<nType>::Type*>(m_pUserData);
    }

private:
    int m_nType;
    void* m_pUserData;
};

/// Puts user data under way.
void PutUnderWay(int nType, void* pUserData);

template <int nType>
void* NewUserData(typename UserDataOf<nType>::Type userData)
{
    auto pUserData = std::make_unique<typename UserDataOf<nType>::Type>(std::move(userData));
    PutUnderWay(nType, pUserData.get());
    return pUserData.release();
}

} // namespace VelCSDK
