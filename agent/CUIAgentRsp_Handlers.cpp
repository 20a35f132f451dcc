#include <ktshttpagent/CUIAgentRsp.h>

#include "MovableRecord.h"

#include <ktshttpagent/ResultVariants.h>

#include <new>
#include <string>
#include <utility>

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

/// A variant that owns the record, moved where that is allowed, or else a copy; an invalid one for none.
template <class Record>
QVariant VariantOf(const Record* pRecord)
{
    if (pRecord == nullptr) {
        return {};
    }
    // The record comes into an empty one: of a copy that fails, Qt loses the memory.
    QVariant variant = QVariant::fromValue(Record());
    auto& record = *static_cast<Record*>(variant.data());
    if (MovableRecord::Take(pRecord)) {
        record = std::move(*const_cast<Record*>(pRecord));
    } else {
        record = *pRecord;
    }
    return variant;
}

/// Makes arguments of a signal. They are made before it is emitted, so that it is emitted without them where
/// there is no memory.
/// @return false then
template <class Make>
bool Made(Make fnMake)
{
    try {
        fnMake();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// The two arguments of most signals.
struct Outcome {
    bool bSucc;
    QVariant vData;
};

/// What the record of a response says of itself, and the record; a failure where there is none, or no memory
/// for the variant.
template <class Record>
Outcome OutcomeOf(const void* pResponse, int nError)
{
    const auto* const pRecord = SuccessfulRecordOf<Record>(pResponse, nError);
    Outcome outcome{false, QVariant()};
    if (pRecord != nullptr && Made([&] { outcome.vData = VariantOf(pRecord); })) {
        outcome.bSucc = pRecord->bSuccess;
    }
    return outcome;
}

} // namespace

// The odd one of the record handlers: an exchange without failure is a success whatever the record says, and
// a failure carries a default record, if there is memory for that.
void CUIAgentRsp::ProcGetUserInfo(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pInfo = SuccessfulRecordOf<USER_INFO>(pResponse, nError);
    QVariant varData;
    const bool bSucc = pInfo != nullptr && Made([&] { varData = VariantOf(pInfo); });
    if (!bSucc) {
        Made([&] { varData = QVariant::fromValue(USER_INFO()); });
    }
    Q_EMIT SigGetUserInfoRet(bSucc, varData);
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
    const Outcome outcome = OutcomeOf<SResponseGetProject>(pResponse, nError);
    Q_EMIT SigGetProjectsRet(outcome.bSucc, outcome.vData);
}

void CUIAgentRsp::ProcGetSupportVer(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const auto* const pRecord = SuccessfulRecordOf<SSupportVer>(pResponse, nError);
    QString strVersion;
    const bool bMade =
        pRecord != nullptr && Made([&] { strVersion = QString::fromStdString(pRecord->strVersion); });
    Q_EMIT SigGetSupportVerRet(bMade && pRecord->bSupport, strVersion);
}

void CUIAgentRsp::ProcGetBattStatus(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const Outcome outcome = OutcomeOf<SResponseGetBatteryStatus>(pResponse, nError);
    Q_EMIT SigGetBattStatusRet(outcome.bSucc, outcome.vData);
}

void CUIAgentRsp::ProcGetAutoExport(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const Outcome outcome = OutcomeOf<SResponseGetAutoExport>(pResponse, nError);
    Q_EMIT SigGetAutoExportRet(outcome.bSucc, outcome.vData);
}

void CUIAgentRsp::ProcGetFtpFilePath(const void* /*pRequest*/, const void* pResponse, int nError)
{
    const Outcome outcome = OutcomeOf<SResponseGetFtpFilePath>(pResponse, nError);
    Q_EMIT SigGetFtpFilePathRet(outcome.bSucc, outcome.vData);
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
    Made(
        [] { qMetaTypeId<SResponseGetChannelCheckData>(); }); // hosts may look it up by its name from here on
    QVariant varRequest;
    const bool bHasRequest =
        Made([&] { varRequest = VariantOf(static_cast<const SRequestGetChannelCheckData*>(pRequest)); });
    bool bSucc = false;
    QString strMessage;
    QString strAllowBoot = QStringLiteral("no");
    QString strReason;
    const auto* const pRecord = RecordOf<SResponseGetChannelCheckData>(pResponse);
    if (pRecord != nullptr && bHasRequest) {
        Made([&] {
            strMessage = QString::fromStdString(pRecord->strMessage);
            strReason = QString::fromStdString(pRecord->strReason);
            if (nError == 0) {
                strAllowBoot = QString::fromStdString(pRecord->strAllowBoot);
                bSucc = pRecord->bSuccess;
            }
        });
    }
    Q_EMIT SigGetChannelCheckDataRet(bSucc, strMessage, strAllowBoot, strReason, varRequest);
}

void CUIAgentRsp::ProcGetWhetherInCommon(const void* pRequest, const void* pResponse, int nError)
{
    const auto* const pDxtm = static_cast<const std::string*>(pRequest);
    QString strDxtm;
    const bool bMade = pDxtm == nullptr || Made([&] { strDxtm = QString::fromStdString(*pDxtm); });
    const auto* const pRecord = SuccessfulRecordOf<SResponseGetWhetherInCommon>(pResponse, nError);
    if (pRecord == nullptr) {
        Q_EMIT SigGetWhetherInCommonRet(false, false, strDxtm);
        return;
    }
    Made([] { qMetaTypeId<SResponseGetWhetherInCommon>(); }); // as with the channel check
    Q_EMIT SigGetWhetherInCommonRet(bMade && pRecord->bSuccess, bMade && pRecord->bCommon, strDxtm);
}

// A failure is told by the FTP path's signal; this request's own is never emitted.
void CUIAgentRsp::ProcGetCdlxFileListByDxtmList(const void* /*pRequest*/, const void* /*pResponse*/,
                                                int nError)
{
    if (nError != 0) {
        Q_EMIT SigGetFtpFilePathRet(false, QVariant());
    }
}
