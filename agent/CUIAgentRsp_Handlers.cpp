#include "CUIAgentRsp.h"

#include "ResultVariants.h"

#include <string>

namespace
{

/// The payload record of a response; null when there is none.
template <class Record>
const Record* RecordOf(const void* pResponse)
{
    const auto* const pHeader = static_cast<const SResponseHeader*>(pResponse);
    return pHeader == nullptr ? nullptr : static_cast<const Record*>(pHeader->pData);
}

/// The payload record where the exchange succeeded; null otherwise.
template <class Record>
const Record* SuccessfulRecordOf(const void* pResponse, int nError)
{
    return nError == 0 ? RecordOf<Record>(pResponse) : nullptr;
}

/// A variant that owns a copy of the record; an invalid one for none.
template <class Record>
QVariant VariantOf(const Record* pRecord)
{
    return pRecord == nullptr ? QVariant() : QVariant::fromValue(*pRecord);
}

} // namespace

// The odd one of the record handlers: an exchange without failure is a success whatever the record says, and
// a failure carries a default record.
void CUIAgentRsp::ProcGetUserInfo(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pInfo = SuccessfulRecordOf<USER_INFO>(pResponse, nError);
    Q_EMIT SigGetUserInfoRet(pInfo != nullptr, QVariant::fromValue(pInfo == nullptr ? USER_INFO() : *pInfo));
}

void CUIAgentRsp::ProcPostReportChlStat(const void* /*pRequest*/, const void* /*pResponse*/, int nError)
{
    Q_EMIT SigPostReportChlStatRet(nError == 0);
}

void CUIAgentRsp::ProcPostReportIncubatorStatus(const void* /*pRequest*/, const void* /*pResponse*/,
                                                int nError)
{
    Q_EMIT SigPostReportIncubatorStatusRet(nError == 0);
}

void CUIAgentRsp::ProcGetProjects(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pRecord = SuccessfulRecordOf<SResponseGetProject>(pResponse, nError);
    Q_EMIT SigGetProjectsRet(pRecord != nullptr && pRecord->bSuccess, VariantOf(pRecord));
}

void CUIAgentRsp::ProcGetSupportVer(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pRecord = SuccessfulRecordOf<SSupportVer>(pResponse, nError);
    if (pRecord == nullptr) {
        Q_EMIT SigGetSupportVerRet(false, QString());
    } else {
        Q_EMIT SigGetSupportVerRet(pRecord->bSupport, QString::fromStdString(pRecord->strVersion));
    }
}

void CUIAgentRsp::ProcGetBattStatus(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pRecord = SuccessfulRecordOf<SResponseGetBatteryStatus>(pResponse, nError);
    Q_EMIT SigGetBattStatusRet(pRecord != nullptr && pRecord->bSuccess, VariantOf(pRecord));
}

void CUIAgentRsp::ProcGetAutoExport(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pRecord = SuccessfulRecordOf<SResponseGetAutoExport>(pResponse, nError);
    Q_EMIT SigGetAutoExportRet(pRecord != nullptr && pRecord->bSuccess, VariantOf(pRecord));
}

void CUIAgentRsp::ProcGetFtpFilePath(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pRecord = SuccessfulRecordOf<SResponseGetFtpFilePath>(pResponse, nError);
    Q_EMIT SigGetFtpFilePathRet(pRecord != nullptr && pRecord->bSuccess, VariantOf(pRecord));
}

// Only the failure is told; a success is deliberately not.
void CUIAgentRsp::ProcGetChannelUpDownPlatform(const void* /*pRequest*/, const void* pResponse, int nError)
{
    if (nError != 0 || pResponse == nullptr) {
        Q_EMIT SigGetChannelUpDownPlatformRet(false, QString());
    }
}

void CUIAgentRsp::ProcGetChannelCheckData(const void* pRequest, const void* pResponse, int nError)
{
    if (nError == 0 && pResponse == nullptr) {
        Q_EMIT SigGetChannelCheckDataRet(false, QString(), QString(), QString(), QVariant());
        return;
    }
    bool bSucc = false;
    QString strMessage;
    QString strAllowBoot = QStringLiteral("no");
    QString strReason;
    const auto* const pRecord = RecordOf<SResponseGetChannelCheckData>(pResponse);
    if (pRecord != nullptr) {
        strMessage = QString::fromStdString(pRecord->strMessage);
        strReason = QString::fromStdString(pRecord->strReason);
    }
    if (pRecord != nullptr && nError == 0) {
        bSucc = pRecord->bSuccess;
        strAllowBoot = QString::fromStdString(pRecord->strAllowBoot);
    }
    qMetaTypeId<SResponseGetChannelCheckData>(); // hosts may look the type up by its name from here on
    Q_EMIT SigGetChannelCheckDataRet(bSucc, strMessage, strAllowBoot, strReason,
                                     VariantOf(static_cast<const SRequestGetChannelCheckData*>(pRequest)));
}

void CUIAgentRsp::ProcGetWhetherInCommon(const void* pRequest, const void* pResponse, int nError)
{
    const auto* const pDxtm = static_cast<const std::string*>(pRequest);
    const QString strDxtm = pDxtm == nullptr ? QString() : QString::fromStdString(*pDxtm);
    const auto* const pRecord = SuccessfulRecordOf<SResponseGetWhetherInCommon>(pResponse, nError);
    if (pRecord == nullptr) {
        Q_EMIT SigGetWhetherInCommonRet(false, false, strDxtm);
        return;
    }
    qMetaTypeId<SResponseGetWhetherInCommon>(); // as with the channel check
    Q_EMIT SigGetWhetherInCommonRet(pRecord->bSuccess, pRecord->bCommon, strDxtm);
}

// A failure is told by the FTP path's signal; this request's own is never emitted.
void CUIAgentRsp::ProcGetCdlxFileListByDxtmList(const void* /*pRequest*/, const void* /*pResponse*/,
                                                int nError)
{
    if (nError != 0) {
        Q_EMIT SigGetFtpFilePathRet(false, QVariant());
    }
}
