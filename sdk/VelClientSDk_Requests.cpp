#include "VelClientSDk.h"

#include "ReplyCause.h"
#include "UserData.h"
#include "requests/AllRequests.h"

#include "outbox/Outbox.h"
#include "platform/metrics/Recorder.h"

#include <ktshttpagent/chttpclient.h>

#include <type_traits>
#include <utility>

namespace VelCSDK
{
namespace
{

/// A request that is about to be sent.
struct Outgoing {
    std::string strUrl;
    std::string strBody;
    std::string strStream; ///< see outbox::Report
};

/// Hands a report to the outbox.
/// @return false if the outbox does not take it: it is not open, or could not store the report
bool HandToOutbox(const RequestForm& form, const Outgoing& outgoing, void* pUserData)
{
    if (form.eMethod != Method::Post || !outbox::MaySend()) {
        return false;
    }
    outbox::Report report;
    report.nType = form.nType;
    report.strUrl = outgoing.strUrl;
    report.strHeader = form.szHeader;
    report.strBody = outgoing.strBody;
    report.strStream = outbox::ThreadStream().empty() ? outgoing.strStream : outbox::ThreadStream();
    return outbox::Send(std::move(report), pUserData);
}

void HandToTransport(const RequestForm& form, const Outgoing& outgoing, void* pUserData)
{
    const metrics::Kind kind{form.nType, false};
    metrics::NoteSent(kind);
    try {
        if (HandToOutbox(form, outgoing, pUserData)) {
            return;
        }
        const std::string strHeader = form.szHeader;
        CHttpClientSendRequest(form.nType, outgoing.strUrl, outgoing.strBody, pUserData,
                               form.eMethod == Method::Post, !strHeader.empty(), strHeader);
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
    RequestText text = Request::Outgoing(arguments, more...);
    Outgoing outgoing{m_strBaseUrl + GetUrl(Request::FORM.nType) + text.strAfterPath, std::move(text.strBody),
                      std::move(text.strStream)};
    if constexpr (std::is_same_v<typename Request::Arguments, NoArguments>) {
        HandToTransport(Request::FORM, outgoing, nullptr);
    } else {
        void* const pUserData = NewUserData<Request>(
            std::move(arguments), TransportTellsStories() ? std::string() : outgoing.strUrl);
        try {
            HandToTransport(Request::FORM, outgoing, pUserData);
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
