#pragma once

/// @file
/// `CUIAgentReq`, through which a host sends requests and reports: asynchronous and blocking senders, and the
/// settings of a site. The asynchronous senders are answered by the signals of CUIAgentRsp.h; connect them
/// before the first request. RequestRecords.h has the records that a host passes in, ResultVariants.h those
/// that come back, BlockingOutcome.h how a blocking call ended. A host without Qt uses IVelClientSDk.h.
/// What the arguments mean to the server is in docs/glossary.md, as far as it is known.
///
/// Threads: the one object belongs to the thread that first calls `CUIAgentReq::Instance()`; call its senders
/// on that thread. Ownership: the library owns the object until the process ends; arguments are copied, or
/// read before the call returns.

#include "BlockingOutcome.h"
#include "KtsExport.h"
#include "RequestRecords.h"

#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <string>

struct SAgentState;
struct SSyncRequest;
struct SyncWait;

/// Sends the host's requests to the server that each call names.
///
/// The asynchronous senders (`Send…`) return at once and without a result; the answer is a signal of
/// `CUIAgentRsp`. If the server is unreachable, the address is bad or the server refuses an argument, `bSucc`
/// is false there.
///
/// Threads: the object belongs to the thread that first called `Instance()`; call the senders there.
///
/// Query texts: an argument that is described as a query text is put unchanged into the URL's query; only
/// characters that no URL may contain are encoded. So a barcode `NO#1` arrives as `NO`, without the fields
/// after it, and `A&B=1` arrives as two fields. With `SetQueryEscaping(true)` each text arrives as it is; see
/// docs/texts-in-requests.md.
///
/// Encryption: requests to a server that is named by host and port use http, unless the site or the
/// environment asks for TLS; see docs/tls.md.
///
/// Endpoint paths, and whether to use TLS, are read once, when the object is made, from the site's settings
/// (see `Instance`).
class KTSHTTPAGENT_API CUIAgentReq : public QObject
{
    Q_OBJECT

public:
    /// The one instance, made by the first call, which also makes the SDK client and reads the endpoint
    /// paths. Safe from several threads.
    ///
    /// The paths are in four profiles: on Windows registry keys below `HKEY_LOCAL_MACHINE\SOFTWARE\ZORVAL`,
    /// elsewhere INI files of the same path below the folder /etc/xdg/ktshttpagent. The environment variable
    /// KTSHTTPAGENT_SETTINGS_ROOT replaces that folder, unless the process has rights that its caller may
    /// lack. If a value is missing or empty, the built-in path is used. Servers that are named by host and
    /// port are reached by https if the environment variable KTSHTTPAGENT_TLS says so or, if that is not set,
    /// the value UseTls of the profile KTSStartPlugin: 1, true, on, yes or 0, false, off, no, in upper or
    /// lower case. Any other text counts as yes, and is logged.
    static CUIAgentReq* Instance();

    ~CUIAgentReq() override;

    /// Where the endpoint path for a request type id (3100 to 3115) comes from: "built in", or the profile
    /// and the name of the value that sets it.
    QString EndpointOrigin(int nType) const;

    /// @name Asynchronous senders
    /// In each sender, also in the blocking ones, `strIp` is the server's host name or address and `nPort`
    /// its port. An IPv6 address must be in brackets, "[::1]"; without them the request fails.
    /// @{

    /// Who is this user? `userId` is the user's number on the server. Answer:
    /// `CUIAgentRsp::SigGetUserInfoRet`.
    void SendGetUserInfo(QString strIp, int nPort, int userId);
    /// Is this version supported? `t` is a query text. Answer: `CUIAgentRsp::SigGetSupportVerRet`.
    void SendGetSupportVer(QString strIp, int nPort, QString t);
    /// The test projects of cells, which are identified by their barcodes. All arguments are query texts. The
    /// barcodes are sent as one text, separated by commas, so no barcode may contain a comma, encoded or not.
    /// Answer: `CUIAgentRsp::SigGetProjectsRet`.
    void SendGetProjects(QString strIp, int nPort, QStringList dxtmList, QString t);
    /// The states that a battery can have. `t` is a query text. Answer: `CUIAgentRsp::SigGetBattStatusRet`.
    void SendGetBattStatus(QString strIp, int nPort, QString t);
    /// The data of a cell's export file. All three are query texts. Answer:
    /// `CUIAgentRsp::SigGetAutoExportRet`.
    void SendGetAutoExport(QString strIp, int nPort, QString bjtzser, QString csxmser, QString dxtm);
    /// Where test files are kept. All four are query texts. Answer: `CUIAgentRsp::SigGetFtpFilePathRet`.
    void SendGetFtpFilePath(QString strIp, int nPort, QString bjtzser, QString csxmser, QString supplier,
                            QString batteryStatus);
    /// Sets the server address and does nothing else: no request is sent, no answer comes.
    void SendGetChannelUpDownPlatform(QString strIp, int nPort, int, int, QString, QString, QString, QString,
                                      int, QString);
    /// May this channel start? The four texts of `req` are query texts. Answer:
    /// `CUIAgentRsp::SigGetChannelCheckDataRet`.
    void SendGetChannelCheckData(QString strIp, int nPort, tagSRequestGetChannelCheckData req);
    /// Is this cell barcode in common? `dxtm` is a query text. Answer:
    /// `CUIAgentRsp::SigGetWhetherInCommonRet`.
    void SendGetWhetherInCommon(QString strIp, int nPort, QString dxtm);
    /// Sets the server address and does nothing else: no request is sent, no answer comes.
    void SendGetCdlxFileListByDxtmList(QString strIp, int nPort, QStringList dxtmList);

    /// Reports one line of a channel's status log. `t` is a query text. Answer:
    /// `CUIAgentRsp::SigPostReportChlStatRet`. If `info.box` or `info.chl` can't be read as a number (the
    /// record documents how they are read), nothing is sent, the reason is logged, and the answer is false,
    /// emitted before this call returns.
    void SendPostReportChlStatus(QString strIp, int nPort, QString t,
                                 KTSStartPlugin::tagRepoChlStatusInfo& info);
    /// Reports an incubator's state. Answer: `CUIAgentRsp::SigPostReportIncubatorStatusRet`.
    void SendPostReportIncubatorStatus(QString strIp, int nPort,
                                       KTSStartPlugin::tagRepoIncubatorStatus& status);
    /// Reports one battery test result. No answer comes.
    void SendPostUploadData(QString strIp, int nPort, tagBatteryTestData& data);
    /// Reports cycle data. `strUrl` is a complete base URL with its trailing "/". `strData` is the content of
    /// a JSON array; it is sent unchecked between "[" and "]". No answer comes.
    void SendPostReportCycleData(QString strUrl, std::string strData);
    /// Reports step data in the same way as cycle data, to the same endpoint. No answer comes.
    void SendPostReportStepData(QString strUrl, std::string strData);

    /// @}

    /// @name Blocking senders
    /// Each sends its request, runs an event loop of its own until the reply is evaluated or `nTimeout`
    /// milliseconds have passed, and returns the result. While it waits, the host's events are handled, and
    /// their handlers may call further senders. A sender of another kind nests: the outer call returns after
    /// the inner one. A sender of the same kind sends its request and returns at once with the result of the
    /// previous reply of its kind.
    ///
    /// After a time-out they return the result of the previous reply, or false if there was none. A reply
    /// that comes later is still recorded, and ends the wait of a call of its kind that is waiting then. So
    /// the return value alone does not distinguish a time-out from a no, nor a new yes from an old one.
    /// `LastOutcome` does, and with `SetStrictWaits` each call returns only the answer to itself. The senders
    /// need a QCoreApplication and must be called on the thread of this object; otherwise they log that and
    /// return false.
    ///
    /// If a call returns before its reply, its request goes on. The library cancels it silently (no signal is
    /// emitted, and no record changes) once CHTTPCLIENT_TIMEOUT_MS (60 s), or `nTimeout` if that is longer,
    /// has passed since the call began, or once a hundred later requests were left unanswered in the same
    /// way. An exchange fails if the decompressed body of its reply has more than CHTTPCLIENT_MAX_REPLY_BYTES
    /// (64 MiB). Both variables are read when this object is made.
    /// @{

    /// May this channel start?
    /// @param strIp      the server's host name or address
    /// @param nPort      its port
    /// @param nTimeout   milliseconds
    /// @param req        the query's arguments; its four texts are query texts
    /// @param bAllow     out: whether "allowBoot" of the reply's object "result" is "yes", in upper or lower
    ///                   case
    /// @param strReason  out: "reason" of that object, the server's words
    /// @return whether the reply's member "success" is true; only then do the two say what the server thinks
    bool SendGetChannelCheckDataEx(QString strIp, int nPort, int nTimeout, tagSRequestGetChannelCheckData req,
                                   bool& bAllow, QString& strReason);
    /// Is this cell barcode in common?
    /// @param strIp     the server's host name or address
    /// @param nPort     its port
    /// @param nTimeout  milliseconds
    /// @param strDxtm   the barcode, a query text
    /// @param bCommon   out: the reply's member "common"
    /// @return whether the reply's member "success" is true
    bool SendGetWhetherInCommonEx(QString strIp, int nPort, int nTimeout, QString strDxtm, bool& bCommon);
    /// Reports one battery test result. Always returns false, because no reply counts as a success.
    bool SendPostUploadDataEx(QString strIp, int nPort, int nTimeout, tagBatteryTestData& data);
    /// Reports cycle data; the arguments are those of `SendPostReportCycleData`, and `nTimeout` in
    /// milliseconds. On failure the calling thread sleeps for 2 s, without handling events, before this
    /// returns false. The next two senders do the same.
    /// @return whether the reply's member "code" is the text "success", in upper or lower case, and its
    ///         member "message" a text that is not empty
    bool SendPostReportCycleDataEx(QString strUrl, int nTimeout, std::string strData);
    /// Reports step data to the step endpoint; `strData` is sent between "[" and "]", as cycle data is. What
    /// it returns is determined as for cycle data.
    bool SendPostReportStepDataEx(QString strUrl, int nTimeout, std::string strData);
    /// Reports step data exactly as given, to the ORN endpoint. Every reply without a network error is a
    /// success.
    bool SendPostReportStepData_ORN(QString strUrl, int nTimeout, std::string strData);

    /// @}

    /// How the last blocking call of this object ended, that is the one that returned last. If calls may
    /// nest, ask before another call can be made. Only with `EBlockingEnd::Answered` are the return value and
    /// the out-parameters the server's answer to the call itself.
    ///
    /// Call it on the object's thread. On any other thread, where blocking calls are refused, and while the
    /// process ends it describes the last call that was refused there.
    SBlockingOutcome LastOutcome() const;

    /// Sets whether each blocking call returns only the answer to itself; off by default. The setting at the
    /// beginning of a call applies to that call. A strict call
    /// - first clears the result of the previous reply, so it returns false and empty texts unless its own
    ///   reply comes within its time-out;
    /// - returns false and empty texts at once if another call of its kind is waiting: its request is sent,
    ///   but its reply is ignored (`EBlockingEnd::Busy`);
    /// - ignores every other reply of its kind while it waits. Replies to earlier calls, strict or not, are
    ///   ignored from then on, and so is its own reply once its time-out has passed. So a strict call never
    ///   ends as `OtherAnswer`.
    ///
    /// Call it on the object's thread. A call on another thread is logged and sets nothing.
    void SetStrictWaits(bool bStrict);
    /// Whether blocking calls are strict. Call it on the object's thread.
    bool HasStrictWaits() const;

    /// Sets whether the query texts of all later requests, asynchronous and blocking ones, are
    /// percent-encoded, so that the server reads each text exactly as the host passed it, whatever characters
    /// it contains. Off by default. A host that encodes its texts itself must not switch this on, because
    /// they would be encoded twice.
    ///
    /// The texts that come back to the host (`t` with `CUIAgentRsp::SigGetSupportVerRet`) stay as the host
    /// passed them, and so does the JSON body that a site's own transport gets with a query. The barcodes of
    /// `SendGetProjects` are still separated by commas, and escaping does not hide a comma inside a barcode
    /// from the server, so no barcode may contain one. The setting applies to the whole process, including
    /// `IVelClientSDk`. Call it from any thread; a request that another thread is making at that moment may
    /// or may not be encoded.
    void SetQueryEscaping(bool bEscape);
    bool HasQueryEscaping() const; ///< whether query texts are percent-encoded

protected Q_SLOTS:
    /// @name Reply slots
    /// Evaluate the reply to a blocking sender and end its wait. Their order is part of the interface.
    /// @{

    /// The reply to `SendGetChannelCheckDataEx`.
    void Slot_GetChannelCheckData_Reply(bool bSucc, QJsonObject object);
    /// The reply to `SendGetWhetherInCommonEx`.
    void Slot_GetWhetherInCommon_Reply(bool bSucc, QJsonObject object);
    /// The reply to `SendPostUploadDataEx`.
    void Slot_PostUploadData_Reply(bool bSucc, QJsonObject object);
    /// The reply to `SendPostReportCycleDataEx`.
    void Slot_PostReportCycleData_Reply(bool bSucc, QJsonObject object);
    /// The reply to `SendPostReportStepDataEx`.
    void Slot_PostReportStepData_Reply(bool bSucc, QJsonObject object);
    /// The reply to `SendPostReportStepData_ORN`.
    void Slot_PostReportStepDataORN_Reply(bool bSucc, QJsonObject object);

    /// @}

protected:
    CUIAgentReq(); ///< for `Instance()` and subclasses

    /// The base URL "http://HOST:PORT/", with TLS "https://HOST:PORT/"; nothing is checked.
    std::string JointServerInfo(std::string strIp, int nPort);

    /// What a blocking sender and its reply slot share, by request type id; owned by this object.
    QMap<int, SyncWait*> m_mapSyncWait;

private:
    Q_DISABLE_COPY(CUIAgentReq)

    void ReadEndpoints();
    const SyncWait& Exchange(const SSyncRequest& request, int nTimeout);
    bool ReportOrPause(const SSyncRequest& request, int nTimeout);
    void JudgeReport(int nType, const QJsonObject& object);
    void KeepOutcome(SBlockingOutcome outcome);

    const std::unique_ptr<SAgentState> m_pState; ///< everything outside the fixed memory layout
};
