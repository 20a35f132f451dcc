#pragma once

/// @file
/// What a host asks and reports: `CUIAgentReq`, with asynchronous and blocking senders, and the settings of a
/// site. The answers of the asynchronous ones are the signals of CUIAgentRsp.h; connect them before the first
/// request. RequestRecords.h has the records that are handed in, ResultVariants.h those that come back,
/// BlockingOutcome.h what became of a blocking call. Without Qt, take IVelClientSDk.h.
///
/// Threads: the one object belongs to the thread that first calls `CUIAgentReq::Instance()`, and its senders
/// are called there. Ownership: the object is the library's to the end of the process; what is handed in is
/// copied, or read before the call returns.

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
/// The asynchronous senders (`Send…`) return at once and report nothing; the answer is a signal of
/// `CUIAgentRsp`. An unreachable server, a bad address, an argument that the server refuses: each shows as
/// `bSucc` false there.
///
/// Threads: the object belongs to the thread that first called `Instance()`; call the senders there.
///
/// Query texts: what the senders say to be a query text becomes a value of the URL's query as it is given;
/// only what no URL may hold is encoded. A barcode `NO#1` arrives as `NO`, without the fields after it, and
/// `A&B=1` as two fields. With `SetQueryEscaping(true)` each text arrives as it is; see
/// docs/texts-in-requests.md.
///
/// Encryption: a server that is named by host and port is asked by http, unless the site or the environment
/// asks for TLS; see docs/tls.md.
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
    /// The paths stand in four profiles: on Windows registry keys below `HKEY_LOCAL_MACHINE\SOFTWARE\ZORVAL`,
    /// elsewhere INI files of the same path below the folder /etc/xdg/ktshttpagent, which the environment
    /// variable KTSHTTPAGENT_SETTINGS_ROOT replaces unless the process has rights that its caller may lack. A
    /// value that is missing or empty leaves the built-in path. Whether servers named by host and port are
    /// asked by https says the environment variable KTSHTTPAGENT_TLS or, where that is not set, the value
    /// UseTls of the profile KTSStartPlugin: 1, true, on, yes or 0, false, off, no, in any case. Any other
    /// text counts as yes, and is logged.
    static CUIAgentReq* Instance();

    ~CUIAgentReq() override;

    /// Where the endpoint path in force for a request type id (3100 to 3115) comes from: "built in", or the
    /// profile and the name of the value that gave it.
    QString EndpointOrigin(int nType) const;

    /// @name Asynchronous senders
    /// In each sender, the blocking ones too, `strIp` is the server's host name or address and `nPort` its
    /// port. An IPv6 address needs its brackets, "[::1]"; without them the request fails.
    /// @{

    /// Who is this user? Answer: `CUIAgentRsp::SigGetUserInfoRet`.
    void SendGetUserInfo(QString strIp, int nPort, int userId);
    /// Is this version supported? `t` is a query text. Answer: `CUIAgentRsp::SigGetSupportVerRet`.
    void SendGetSupportVer(QString strIp, int nPort, QString t);
    /// The test projects of cells, named by their barcodes. All are query texts; the barcodes travel with
    /// commas between them, so none may hold a comma, encoded or not. Answer:
    /// `CUIAgentRsp::SigGetProjectsRet`.
    void SendGetProjects(QString strIp, int nPort, QStringList dxtmList, QString t);
    /// The states that batteries may be in. `t` is a query text. Answer: `CUIAgentRsp::SigGetBattStatusRet`.
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
    /// `CUIAgentRsp::SigPostReportChlStatRet`. When `info.box` or `info.chl` can't be read as a number (the
    /// record says how they are read), nothing is sent, the log says so, and the answer is false, emitted
    /// before this call returns.
    void SendPostReportChlStatus(QString strIp, int nPort, QString t,
                                 KTSStartPlugin::tagRepoChlStatusInfo& info);
    /// Reports an incubator's state. Answer: `CUIAgentRsp::SigPostReportIncubatorStatusRet`.
    void SendPostReportIncubatorStatus(QString strIp, int nPort,
                                       KTSStartPlugin::tagRepoIncubatorStatus& status);
    /// Reports one battery test result. No answer comes.
    void SendPostUploadData(QString strIp, int nPort, tagBatteryTestData& data);
    /// Reports cycle data. `strUrl` is a complete base URL with its trailing "/"; `strData` is the inside of
    /// a JSON array, which is sent unchecked in "[" and "]". No answer comes.
    void SendPostReportCycleData(QString strUrl, std::string strData);
    /// Reports step data the way cycle data travels, to the cycle endpoint. No answer comes.
    void SendPostReportStepData(QString strUrl, std::string strData);

    /// @}

    /// @name Blocking senders
    /// Each sends, runs an event loop of its own until the reply is judged or `nTimeout` milliseconds are
    /// over, and returns the judgement. While it waits, the host's events are handled, so further senders may
    /// be called from there: those of another kind nest, and the outer one returns after the inner one; one
    /// of the same kind sends its request and returns at once with what the record of the kind holds.
    ///
    /// After a time-out they return what the reply before brought, and false if there was none. A reply that
    /// comes later is still recorded, and ends the wait of a call that waits then. So the return value alone
    /// tells neither a time-out from a no nor a fresh yes from an old one: `LastOutcome` does, and with
    /// `SetStrictWaits` no reply but its own counts for a call. They need a QCoreApplication and the thread
    /// of this object; without, they log that and return false.
    ///
    /// A request that a call left behind, because it returned before the reply, is given up without a word
    /// when CHTTPCLIENT_TIMEOUT_MS (60 s), or `nTimeout` if that is longer, has passed since it was sent; and
    /// when a hundred others were left behind after it. Until then it goes on. A reply with a body of more
    /// than CHTTPCLIENT_MAX_REPLY_BYTES (64 MiB), unpacked, is a failed exchange. Both variables are read
    /// when this object is made.
    /// @{

    /// May this channel start?
    /// @param strIp      the server's host name or address
    /// @param nPort      its port
    /// @param nTimeout   milliseconds
    /// @param req        what is asked; its four texts are query texts
    /// @param bAllow     out: the server said "yes", in any case
    /// @param strReason  out: the server's reason
    bool SendGetChannelCheckDataEx(QString strIp, int nPort, int nTimeout, tagSRequestGetChannelCheckData req,
                                   bool& bAllow, QString& strReason);
    /// Is this cell barcode in common?
    /// @param strIp     the server's host name or address
    /// @param nPort     its port
    /// @param nTimeout  milliseconds
    /// @param strDxtm   the barcode, a query text
    /// @param bCommon  out: it is
    bool SendGetWhetherInCommonEx(QString strIp, int nPort, int nTimeout, QString strDxtm, bool& bCommon);
    /// Reports one battery test result. Always returns false: no reply counts as a success.
    bool SendPostUploadDataEx(QString strIp, int nPort, int nTimeout, tagBatteryTestData& data);
    /// Reports cycle data; the arguments are those of `SendPostReportCycleData`. On failure the calling
    /// thread sleeps for 2 s, without handling events, before this returns false. So do the next two.
    bool SendPostReportCycleDataEx(QString strUrl, int nTimeout, std::string strData);
    /// Reports step data, in brackets, to the step endpoint.
    bool SendPostReportStepDataEx(QString strUrl, int nTimeout, std::string strData);
    /// Reports step data exactly as given, to the ORN endpoint. Every reply without a network error is a
    /// success.
    bool SendPostReportStepData_ORN(QString strUrl, int nTimeout, std::string strData);

    /// @}

    /// What became of the last blocking call of this object, that is of the one that returned last: when
    /// calls nest, ask before the next call may be made. Only with `EBlockingEnd::Answered` are the return
    /// value and the out-parameters the server's answer to the call itself.
    ///
    /// To be called on the object's thread. On any other, where blocking calls are refused, and at the end of
    /// the process it tells of the last call that was refused there.
    SBlockingOutcome LastOutcome() const;

    /// Whether each blocking call answers for itself alone; off until it is set. A call goes by what is set
    /// when it begins. A strict call
    /// - first clears what the reply before brought, so that it returns false, without texts, unless its own
    ///   reply comes within its time-out;
    /// - returns at once, false and without texts, where another call of its kind is waiting: its request is
    ///   sent, its reply changes nothing (`EBlockingEnd::Busy`);
    /// - makes every other reply of its kind count for nothing while it waits. A reply to an earlier call,
    ///   strict or not, never counts any more; nor does its own once its time-out has passed. So no strict
    ///   call ends as `OtherAnswer`.
    ///
    /// To be called on the object's thread; on any other that is logged, and nothing is set.
    void SetStrictWaits(bool bStrict);
    /// On the object's thread.
    bool HasStrictWaits() const;

    /// Whether the query texts of all requests that are made from now on, asynchronous and blocking ones, are
    /// percent-encoded, so that the server reads each as it was handed in, whatever characters it holds. At
    /// first they are not. A host that encodes its texts itself must not switch this on: they would be
    /// encoded twice.
    ///
    /// The texts that come back to the host (`t` with `CUIAgentRsp::SigGetSupportVerRet`) stay as they were
    /// handed in, and so does the JSON body that a transport of the site's own is handed with a query. The
    /// barcodes of `SendGetProjects` still travel with commas between them, which no escape hides from the
    /// server: none may hold one. It holds for the whole process, `IVelClientSDk` included. From any thread;
    /// a request that is being made on another thread just then is made either way.
    void SetQueryEscaping(bool bEscape);
    bool HasQueryEscaping() const; ///< whether they are

protected Q_SLOTS:
    /// @name Reply slots
    /// Judge the reply to a blocking sender and end its wait. Their order is part of the interface.
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

    /// What a blocking sender and its reply share, by request type id; owned.
    QMap<int, SyncWait*> m_mapSyncWait;

private:
    Q_DISABLE_COPY(CUIAgentReq)

    void ReadEndpoints();
    const SyncWait& Exchange(const SSyncRequest& request, int nTimeout);
    bool ReportOrPause(const SSyncRequest& request, int nTimeout);
    void JudgeReport(int nType, const QJsonObject& object);
    void KeepOutcome(SBlockingOutcome outcome);

    const std::unique_ptr<SAgentState> m_pState; ///< all that is not part of the fixed layout
};
