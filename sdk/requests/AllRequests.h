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
    RequestList<requests::GetUserInfo, requests::ReportChlStatus, requests::ReportIncubatorStatus,
                requests::GetSupportVer, requests::GetProjects, requests::GetBattStatus,
                requests::GetAutoExport, requests::GetFtpFilePath, requests::GetChannelUpDownPlatform,
                requests::GetChannelCheckData, requests::GetWhetherInCommon,
                requests::GetCdlxFileListByDxtmList, requests::PostUploadData, requests::ReportCycleData,
                requests::ReportStepData, requests::ReportStepDataOrn>;

} // namespace VelCSDK
