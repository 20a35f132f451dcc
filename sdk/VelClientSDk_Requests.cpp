#include "VelClientSDk.h"

#include "ReplyCause.h"
#include "UserData.h"
#include "requests/AllRequests.h"

#include "platform/metrics/Recorder.h"

#include <ktshttpagent/chttpclient.h>

#include <type_traits>
#include <utility>

namespace VelCSDK
{
namespace
{

void HandToTransport(const RequestForm& form, const std::string& strUrl, const std::string& strBody,
                     void* pUserData)
{
    const std::string strHeader = form.szHeader;
    const metrics::Kind kind{form.nType, false};
    metrics::NoteSent(kind);
    try {
        CHttpClientSendRequest(form.nType, strUrl, strBody, pUserData, form.eMethod == Method::Post,
                               !strHeader.empty(), strHeader);
    } catch (...) {
        metrics::NoteFailure(kind, EKtsFailure::NotSent, {}, "the transport did not accept the request");
        throw;
    }
}

} // namespace

template <class Request, class... More>
void VelClientSDk::Send(typename Request::Arguments arguments, const More&... more)
{
    static_assert(AllRequests::CONTAINS<Request>, "the list of requests lacks this one");
    const RequestText text = Request::Outgoing(arguments, more...);
    const std::string strUrl = m_strBaseUrl + GetUrl(Request::FORM.nType) + text.strAfterPath;
    if constexpr (std::is_same_v<typename Request::Arguments, NoArguments>) {
        HandToTransport(Request::FORM, strUrl, text.strBody, nullptr);
    } else {
        void* const pUserData =
            NewUserData<Request>(std::move(arguments), TransportTellsStories() ? std::string() : strUrl);
        try {
            HandToTransport(Request::FORM, strUrl, text.strBody, pUserData);
        } catch (...) {
            const UserData takenBack(Request::FORM.nType, pUserData);
            throw;
        }
    }
}

void VelClientSDk::GetUserInfo(int userId)
{
    Send<requests::GetUserInfo>(userId);
}

void VelClientSDk::ReportChlStatus(std::string t, KTSStartPlugin::tagRepoChlStatusInfo& info)
{
    Send<requests::ReportChlStatus>(std::move(t), info);
}

void VelClientSDk::ReportIncubatorStatus(KTSStartPlugin::tagRepoIncubatorStatus& status)
{
    Send<requests::ReportIncubatorStatus>({}, status);
}

void VelClientSDk::GetProjects(std::string dxtm, std::string t)
{
    Send<requests::GetProjects>({std::move(dxtm), std::move(t)});
}

void VelClientSDk::GetSupportVer(std::string t)
{
    Send<requests::GetSupportVer>(std::move(t));
}

void VelClientSDk::GetBattStatus(std::string t)
{
    Send<requests::GetBattStatus>(std::move(t));
}

void VelClientSDk::GetAutoExport(std::string bjtzser, std::string csxmser, std::string dxtm)
{
    Send<requests::GetAutoExport>({std::move(bjtzser), std::move(csxmser), std::move(dxtm)});
}

void VelClientSDk::GetFtpFilePath(std::string bjtzser, std::string csxmser, std::string supplier,
                                  std::string batteryStatus)
{
    Send<requests::GetFtpFilePath>(
        {std::move(bjtzser), std::move(csxmser), std::move(supplier), std::move(batteryStatus)});
}

void VelClientSDk::GetChannelCheckData(int wtNumId, int xmNameId, std::string dxtm, std::string deviceId,
                                       std::string chl, std::string purpose)
{
    Send<requests::GetChannelCheckData>(
        {wtNumId, xmNameId, std::move(dxtm), std::move(deviceId), std::move(chl), std::move(purpose)});
}

void VelClientSDk::GetWhetherInCommon(std::string dxtm)
{
    Send<requests::GetWhetherInCommon>(std::move(dxtm));
}

// The server supports these two queries, but the operations deliberately send nothing.
void VelClientSDk::GetChannelUpDownPlatform(int /*unused*/, int /*unused*/, std::string /*unused*/,
                                            std::string /*unused*/, std::string /*unused*/,
                                            std::string /*unused*/, int /*unused*/, std::string /*unused*/)
{
}

void VelClientSDk::GetCdlxFileListByDxtmList(std::string /*dxtmList*/) {}

void VelClientSDk::PostUploadData(tagBatteryTestData& data)
{
    Send<requests::PostUploadData>(data);
}

void VelClientSDk::ReportCycleData(std::string json)
{
    Send<requests::ReportCycleData>(std::move(json));
}

// Step data is sent like cycle data: same endpoint, same id.
void VelClientSDk::ReportStepData(std::string json)
{
    ReportCycleData(std::move(json));
}

} // namespace VelCSDK
