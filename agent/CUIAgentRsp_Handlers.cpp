#include <ktshttpagent/CUIAgentRsp.h>

#include "MovableRecord.h"

#include <ktshttpagent/ResultVariants.h>

#include <new>
#include <string>
#include <utility>

namespace
{

/// The payload record of a response; null if there is none.
template <class Record>
const Record* RecordOf(const void* pResponse)
{
    const auto* const pHeader = static_cast<const SResponseHeader*>(pResponse);
    return pHeader == nullptr ? nullptr : static_cast<const Record*>(pHeader->pData);
}

/// The payload record if the exchange succeeded; null otherwise.
template <class Record>
const Record* SuccessfulRecordOf(const void* pResponse, int nError)
{
    return nError == 0 ? RecordOf<Record>(pResponse) : nullptr;
}

/// A variant with the record, which is moved if that is allowed (`MovableRecord`) and copied otherwise; an
/// invalid variant if there is no record.
template <class Record>
QVariant VariantOf(const Record* pRecord)
{
    if (pRecord == nullptr) {
        return {};
    }
    // The record is put into a variant that exists already: if copying fails while Qt makes a variant, Qt
    // leaks its memory.
    QVariant variant = QVariant::fromValue(Record());
    auto& record = *static_cast<Record*>(variant.data());
    if (MovableRecord::Take(pRecord)) {
        record = std::move(*const_cast<Record*>(pRecord));
    } else {
        record = *pRecord;
    }
    return variant;
}

/// Makes arguments of a signal. They are made before the signal is emitted, so that it is emitted without
/// them if there is not enough memory.
/// @return false if there was not enough memory
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

/// The success flag of a response's record, and the record; a failure if there is no record, or not enough
/// memory for the variant.
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

// Unlike the other handlers: an exchange without failure is a success whatever the record says, and a failure
// carries a default record, if there is enough memory for it.
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

// Emits the signal only after a failure; a success is deliberately not reported.
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
    Made([] { qMetaTypeId<SResponseGetChannelCheckData>(); }); // from now on hosts may look it up by name
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
    Made([] { qMetaTypeId<SResponseGetWhetherInCommon>(); }); // as for the channel check
    Q_EMIT SigGetWhetherInCommonRet(bMade && pRecord->bSuccess, bMade && pRecord->bCommon, strDxtm);
}

// A failure emits the signal of the FTP path; this request's own signal is never emitted.
void CUIAgentRsp::ProcGetCdlxFileListByDxtmList(const void* /*pRequest*/, const void* /*pResponse*/,
                                                int nError)
{
    if (nError != 0) {
        Q_EMIT SigGetFtpFilePathRet(false, QVariant());
    }
}
