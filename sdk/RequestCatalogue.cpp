#include "RequestCatalogue.h"

#include <algorithm>
#include <array>

namespace VelCSDK
{
namespace
{

constexpr bool GET = false;
constexpr bool POST = true;

constexpr const char* NO_HEADER = "";
constexpr const char* JSON_HEADER = "Content-Type: application/json; charset=utf-8";
// The server's reports ask for exactly this value, both names in one.
constexpr const char* REPORT_HEADER = "Content-Type: application/json; charset=utf-8/gb2312";

// Ids that the SDK client never sends have a path all the same: GetUrl answers for them.
constexpr std::array<SRequestForm, 16> REQUEST_FORMS{{
    {RequestType::GetUserInfo, "posts", GET, JSON_HEADER},
    {RequestType::ReportChlStatus, "vomd/system/addstatuslog.action", POST, REPORT_HEADER},
    {RequestType::ReportIncubatorStatus, "vomd/system/incubatorStatus.action", POST, REPORT_HEADER},
    {RequestType::GetProjects, "vomd/system/GetSyxm.action", GET, NO_HEADER},
    {RequestType::GetSupportVer, "vomd/system/GetSupportVer.action", GET, NO_HEADER},
    {RequestType::GetBattStatus, "vomd/system/GetDxzt.action", GET, NO_HEADER},
    {RequestType::GetAutoExport, "vomd/system/autoExport.action", GET, NO_HEADER},
    {RequestType::GetFtpFilePath, "vomd/system/xmmb/getFtpFilePath.action", GET, NO_HEADER},
    {RequestType::GetChannelUpDownPlatform, "vomd/system/channelUpDownPlatform.action", GET, NO_HEADER},
    {RequestType::GetChannelCheckData, "vomd/system/channelCheckData.action", GET, NO_HEADER},
    {RequestType::GetWhetherInCommon, "vomd/system/whetherInCommon.action", GET, NO_HEADER},
    {RequestType::GetCdlxFileListByDxtmList, "vomd/system/getCdlxFileListByDxtmList.action", GET, NO_HEADER},
    {RequestType::PostUploadData, "dev-api/connector/DataCollectionController_KR_KR/saveData", POST,
     REPORT_HEADER},
    {RequestType::ReportCycleData, "open/test-cabinet/add/kostrel/cycle", POST, NO_HEADER},
    {RequestType::ReportStepData, "open/test-cabinet/add/kostrel/step", POST, NO_HEADER},
    {RequestType::ReportStepDataOrn, "core/api/public/orn/qm/autoWriteInspection", POST, NO_HEADER},
}};

} // namespace

const SRequestForm* FindRequestForm(int nType) noexcept
{
    const auto* const found = std::find_if(REQUEST_FORMS.begin(), REQUEST_FORMS.end(),
                                           [nType](const SRequestForm& form) { return form.nType == nType; });
    return found == REQUEST_FORMS.end() ? nullptr : found;
}

std::string DefaultEndpointPath(int nType)
{
    const SRequestForm* const pForm = FindRequestForm(nType);
    return pForm == nullptr ? std::string() : pForm->szPath;
}

} // namespace VelCSDK
