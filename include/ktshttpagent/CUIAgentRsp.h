#pragma once

/// @file
/// `CUIAgentRsp`, which hands results to a host: one signal for each asynchronous request of CUIAgentReq.h.
/// Include ResultVariants.h to take a record out of a variant; ResultRecords.h describes the records.
///
/// Threads: signals are emitted one at a time on the transport's threads, with one exception, see
/// `CUIAgentRsp`. A receiver that is connected with a context object gets them queued to that object's
/// thread. Ownership: the library owns the object of `Instance()` until the process ends; the arguments of a
/// signal are copies.

#include "KtsExport.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

/// Hands the results of asynchronous requests to the host, by one signal for each request.
///
/// Call `Instance()` and connect before the first request is sent: results that come before this object
/// exists are lost.
///
/// Threads: signals are emitted one at a time, in the order in which the answers came, on the delivering
/// thread: one of the transport's two threads, not always the same one. There is one exception: if a report
/// can't be sent (see `CUIAgentReq::SendPostReportChlStatus`), its answer is emitted within that call, on the
/// caller's thread. With Qt's automatic connection a receiver that lives in another thread gets them queued,
/// through its event loop. A receiver without a thread of its own (a lambda without context) runs on the
/// delivering thread and delays the results after it. Nothing is locked while receivers run: they may block,
/// run an event loop, send, or end the process. All arguments are values.
///
/// If the host makes an object of a subclass, that object receives all results instead of the object made
/// before it. After it is destroyed, results are dropped. Its destructor waits, for 5 s at most, until other
/// threads have finished the deliveries that they have begun.
///
/// `bSucc` is true if the reply came and says yes: its member "success" is the literal true, for user
/// information its member "code" is 0; docs/replies.md has the odd cases. It is false if the exchange failed
/// or the server said no. The signal does not distinguish the two; the log does. The records inside the
/// variants are declared in `ResultVariants.h`; after a failure and after a no the variant is invalid unless
/// the signal documents something else. If there is not enough memory for the arguments of a signal, it is
/// emitted as a failure, and the arguments that could not be made are empty.
class KTSHTTPAGENT_API CUIAgentRsp : public QObject
{
    Q_OBJECT

public:
    /// The one instance, made by the first call. Safe from several threads.
    static CUIAgentRsp* Instance();

    ~CUIAgentRsp() override;

Q_SIGNALS:
    /// @name Answers
    /// The order of the signals is part of the interface: hosts may connect by index.
    /// @{

    /// Answer to `SendGetUserInfo`. `varData` holds a `USER_INFO`, a default one on failure.
    void SigGetUserInfoRet(bool bSucc, QVariant varData);
    /// Answer to `SendPostReportChlStatus`.
    void SigPostReportChlStatRet(bool bSucc);
    /// Answer to `SendPostReportIncubatorStatus`.
    void SigPostReportIncubatorStatusRet(bool bSucc);
    /// Answer to `SendGetProjects`. `vData` holds a `SResponseGetProject`.
    void SigGetProjectsRet(bool bSucc, QVariant vData);
    /// Answer to `SendGetSupportVer`. `strTickCount` is the version that was asked about.
    void SigGetSupportVerRet(bool bSucc, QString strTickCount);
    /// Answer to `SendGetBattStatus`. `vData` holds a `SResponseGetBatteryStatus`.
    void SigGetBattStatusRet(bool bSucc, QVariant vData);
    /// Answer to `SendGetAutoExport`. `vData` holds a `SResponseGetAutoExport`.
    void SigGetAutoExportRet(bool bSucc, QVariant vData);
    /// Answer to `SendGetFtpFilePath`. `vData` holds a `SResponseGetFtpFilePath`.
    void SigGetFtpFilePathRet(bool bSucc, QVariant vData);
    /// Not emitted for any request, because `SendGetChannelUpDownPlatform` sends none.
    void SigGetChannelUpDownPlatformRet(bool bSucc, QString strMessage);
    /// Answer to `SendGetChannelCheckData`. `strMessage` is the reply's member "message"; `strAllowBoot` and
    /// `strReason` are "allowBoot" and "reason" of its object "result". `strAllowBoot` is the server's text,
    /// or "no" if the exchange failed; `varRequestData` holds the `SRequestGetChannelCheckData` that was
    /// asked about.
    void SigGetChannelCheckDataRet(bool bSucc, QString strMessage, QString strAllowBoot, QString strReason,
                                   QVariant varRequestData);
    /// Answer to `SendGetWhetherInCommon`. `bIsCommon` is the reply's member "common"; `strDxtm` is the
    /// barcode that was asked about.
    void SigGetWhetherInCommonRet(bool bSucc, bool bIsCommon, QString strDxtm);
    /// Never emitted: `SendGetCdlxFileListByDxtmList` sends no request.
    void SigGetCdlxFileListByDxtmListRet(bool bSucc, QStringList lstRet);

    /// @}

protected:
    CUIAgentRsp(); ///< for `Instance()` and subclasses

    /// Receives every decoded reply and emits the signal of its request type; types 3112 to 3115 and unknown
    /// ones emit nothing. It never throws.
    /// @param nType      request type id
    /// @param pRequest   the request's context: for 3109 a `tagSRequestGetChannelCheckData`, for 3110 the
    ///                   barcode as `std::string`; not read for other types. May be null.
    /// @param pResponse  the `SResponseHeader`; null if nothing was decoded
    /// @param nError     0 if exchange and decoding succeeded
    void OnResponse(int nType, const void* pRequest, const void* pResponse, int nError);

    /// @name Handlers
    /// One for each request type, with the arguments of `OnResponse`.
    /// @{

    /// Emits `SigGetUserInfoRet`.
    void ProcGetUserInfo(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetProjectsRet`.
    void ProcGetProjects(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetSupportVerRet`.
    void ProcGetSupportVer(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetBattStatusRet`.
    void ProcGetBattStatus(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetAutoExportRet`.
    void ProcGetAutoExport(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetFtpFilePathRet`.
    void ProcGetFtpFilePath(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetChannelUpDownPlatformRet` after a failure; after a success deliberately nothing.
    void ProcGetChannelUpDownPlatform(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetChannelCheckDataRet`.
    void ProcGetChannelCheckData(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetWhetherInCommonRet`.
    void ProcGetWhetherInCommon(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigGetFtpFilePathRet` after a failure, and nothing after a success.
    void ProcGetCdlxFileListByDxtmList(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigPostReportChlStatRet`.
    void ProcPostReportChlStat(const void* pRequest, const void* pResponse, int nError);
    /// Emits `SigPostReportIncubatorStatusRet`.
    void ProcPostReportIncubatorStatus(const void* pRequest, const void* pResponse, int nError);

    /// @}

private:
    Q_DISABLE_COPY(CUIAgentRsp)
};
