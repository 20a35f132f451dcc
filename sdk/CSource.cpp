#include "CSource.h"

#include "CDataResponse.h"
#include "DecodeFrame.h"
#include "RequestCatalogue.h"
#include "VelClientSDk.h"

#include <ktshttpagent/clog.h>

#include <memory>
#include <new>

namespace VelCSDK
{

// Reports of type 3112 to 3115 have no decoder: their replies are dropped.
const CSource::SRegistration CSource::REGISTRATIONS[] = {
    {RequestType::GetUserInfo, &CSource::OnGetUserInfo},
    {RequestType::ReportChlStatus, &CSource::OnReportAck},
    {RequestType::ReportIncubatorStatus, &CSource::OnReportAck},
    {RequestType::GetSupportVer, &CSource::OnGetSupportVer},
    {RequestType::GetProjects, &CSource::OnGetProjects},
    {RequestType::GetBattStatus, &CSource::OnGetBattStatus},
    {RequestType::GetAutoExport, &CSource::OnGetAutoExport},
    {RequestType::GetFtpFilePath, &CSource::OnGetFtpFilePath},
    {RequestType::GetChannelUpDownPlatform, &CSource::OnIgnore},
    {RequestType::GetChannelCheckData, &CSource::OnGetChannelCheckData},
    {RequestType::GetWhetherInCommon, &CSource::OnGetWhetherInCommon},
    {RequestType::GetCdlxFileListByDxtmList, &CSource::OnIgnore},
};

CSource::CSource()
{
    for (const SRegistration& registration : REGISTRATIONS) {
        CDataResponse::Instance()->RegisterHandler(
            registration.nType,
            // Two pointers: small enough to be copied for every reply without an allocation.
            [this, &registration](const std::string& body, int nType, void* pUserData) {
                (this->*registration.fnDecoder)(body, nType, pUserData);
            });
    }
}

void CSource::Notify(int nType, const void* pUser, const SResponseHeader& header, int nResult)
{
    auto* const pClient = static_cast<VelClientSDk*>(SDKFactory::GetInstance());
    ResponseCallBack fnCopy;
    std::shared_ptr<const ResponseCallBack> pHeld;
    try {
        fnCopy = pClient->GetResponseCallBack("source");
    } catch (const std::bad_alloc&) { // a large one; the answer comes all the same
        pHeld = pClient->HeldResponseCallBack();
    }
    const ResponseCallBack& fnResponse = pHeld != nullptr ? *pHeld : fnCopy;
    fnResponse(nType, pUser, &header, nResult);
}

void CSource::HandOver(int nType, const void* pUser, const void* pPayload, int nResult)
{
    SResponseHeader header;
    header.nCode = nResult;
    header.pData = pPayload;
    Notify(nType, pUser, header, nResult);
}

void LogUndecoded(int nType, const std::exception& error) noexcept
{
    try {
        Log_Write(1, "VelCSDK::CSource::Decode", 1, "reply to a request of type %d counts as a failure: %s",
                  nType, error.what());
    } catch (...) { // no memory for the line either, or a log that throws: the reply still gets its answer
    }
}

void CSource::OnReportAck(const std::string& body, int nType, void* pUserData)
{
    const CUserData user(nType, pUserData);
    int nResult = -1;
    Attempt(nType, [&] { nResult = CReplyReader(body).Result(); });
    HandOver(nType, user.Context(), nullptr, nResult);
}

void CSource::OnIgnore(const std::string& /*body*/, int nType, void* pUserData)
{
    const CUserData user(nType, pUserData);
}

} // namespace VelCSDK
