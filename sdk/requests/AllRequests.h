#pragma once

#include "GetAutoExport.h"
#include "GetBattStatus.h"
#include "GetChannelCheckData.h"
#include "GetFtpFilePath.h"
#include "GetProjects.h"
#include "GetSupportVer.h"
#include "GetUserInfo.h"
#include "GetWhetherInCommon.h"
#include "PostUploadData.h"
#include "ReportChlStatus.h"
#include "ReportCycleData.h"
#include "ReportIncubatorStatus.h"
#include "UnsentRequests.h"

#include <type_traits>

namespace VelCSDK
{

template <class... Request>
struct RequestList {
    template <class Any>
    static constexpr bool CONTAINS = (std::is_same_v<Any, Request> || ...);
};

/// Every request. The built-in paths, the freeing of user data and the registration of decoders are derived
/// from this list.
using AllRequests =
    RequestList<Requests::GetUserInfo, Requests::ReportChlStatus, Requests::ReportIncubatorStatus,
                Requests::GetSupportVer, Requests::GetProjects, Requests::GetBattStatus,
                Requests::GetAutoExport, Requests::GetFtpFilePath, Requests::GetChannelUpDownPlatform,
                Requests::GetChannelCheckData, Requests::GetWhetherInCommon,
                Requests::GetCdlxFileListByDxtmList, Requests::PostUploadData, Requests::ReportCycleData,
                Requests::ReportStepData, Requests::ReportStepDataOrn>;

} // namespace VelCSDK
